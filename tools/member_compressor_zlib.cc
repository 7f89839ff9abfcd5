#include <algorithm>

#include "member_compressor.h"
#include "zip_writer.h"

namespace tool {

int MaxCompressionLevel() { return 9; }
const char* CompressorName() { return "zlib"; }

std::string Compress(const std::string& content, int level) {
  return velm::zip::Deflate(content, std::min(level, 9));
}

}  // namespace tool
