// Reading an Input in pieces, whole, or at an offset.
#ifndef VELMIO_TOOLS_INPUT_READING_H_
#define VELMIO_TOOLS_INPUT_READING_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include <velm/io/stream>

namespace tool {

// Hands every piece that input gives to sink until input ends. The count of
// bytes read, or -1 when a read fails or sink gives false.
int64_t ReadChunks(velm::io::Input& input,
                   const std::function<bool(const char* data, size_t size)>& sink);

// ReadChunks that also sums the CRC-32 of what it hands out into crc.
int64_t ReadChunksSummed(velm::io::Input& input,
                         const std::function<bool(const char* data, size_t size)>& sink,
                         uint32_t& crc);

// The rest of input appended to out; false when a read fails.
bool ReadAll(velm::io::Input& input, std::string& out);

// Exactly size bytes from offset into out; false when fewer are there.
bool ReadAt(velm::io::Input& input, uint64_t offset, size_t size, std::string& out);

// The bytes read into text from at on, as the format's readers take them.
inline const unsigned char* Bytes(const std::string& text, size_t at = 0) {
  return reinterpret_cast<const unsigned char*>(text.data()) + at;
}

}  // namespace tool

#endif  // VELMIO_TOOLS_INPUT_READING_H_
