// The raw deflate that pack writes members with: libdeflate's compressor
// where the build found it (levels 0-12), zlib's otherwise (0-9, higher ones
// taken as 9). Safe to call from several threads at once.
#ifndef VELMIO_TOOLS_MEMBER_COMPRESSOR_H_
#define VELMIO_TOOLS_MEMBER_COMPRESSOR_H_

#include <string>

namespace tool {

// The highest level there is, and the name of the compressor.
int MaxCompressionLevel();
const char* CompressorName();

// Raw deflate of content, as a member holds it.
std::string Compress(const std::string& content, int level);

}  // namespace tool

#endif  // VELMIO_TOOLS_MEMBER_COMPRESSOR_H_
