#include <libdeflate.h>

#include <memory>
#include <new>

#include "member_compressor.h"

namespace tool {
namespace {

struct FreeCompressor {
  void operator()(libdeflate_compressor* compressor) const {
    libdeflate_free_compressor(compressor);
  }
};

}  // namespace

int MaxCompressionLevel() { return 12; }
const char* CompressorName() { return "libdeflate"; }

std::string Compress(const std::string& content, int level) {
  // One compressor per thread and level: making one costs more than a small
  // member.
  thread_local std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor;
  thread_local int compressor_level = -1;
  if (compressor_level != level) {
    compressor.reset(libdeflate_alloc_compressor(level));
    if (!compressor) throw std::bad_alloc();
    compressor_level = level;
  }
  std::string out(libdeflate_deflate_compress_bound(compressor.get(), content.size()), '\0');
  out.resize(libdeflate_deflate_compress(compressor.get(), content.data(), content.size(), &out[0],
                                         out.size()));
  return out;
}

}  // namespace tool
