#include <zlib.h>

#include "zip/inflate_member.h"

namespace velm::io {

// Built without libdeflate: zlib inflates every member.
bool HaveWholeBufferInflater() { return false; }

int InflateStreamStart(const unsigned char*, uint64_t, unsigned char*, uint64_t, uint64_t&,
                       uint64_t&) {
  return -1;
}

uint32_t Crc32(uint32_t crc, const unsigned char* bytes, uint64_t count) {
  return static_cast<uint32_t>(crc32_z(crc, bytes, static_cast<z_size_t>(count)));
}

}  // namespace velm::io
