#ifndef VELMIO_ZIP_ZIP_ENTRY_H_
#define VELMIO_ZIP_ZIP_ENTRY_H_

#include <cstdint>

namespace velm::io {

// One member of an archive as its local header gives it. A parent directory
// that has no record of its own is all zero but for name.
struct ZipEntry {
  uint32_t offset = 0;  // start of the member's data, low 32 bits
  uint32_t compress_size = 0;
  uint32_t uncompress_size = 0;
  uint16_t compress_method = 0;  // 0 stored, 8 deflate
  uint16_t flags = 0;
  uint16_t dos_time = 0;
  uint16_t dos_date = 0;
  uint32_t crc32 = 0;
  const char* name = nullptr;  // the characters of this entry's key, not owned
};

}  // namespace velm::io

#endif  // VELMIO_ZIP_ZIP_ENTRY_H_
