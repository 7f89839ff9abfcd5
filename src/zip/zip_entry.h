#ifndef VELMIO_ZIP_ZIP_ENTRY_H_
#define VELMIO_ZIP_ZIP_ENTRY_H_

#include <cstdint>

namespace velm::io {

// One member of an archive as its local record gives it: sizes from a Zip64
// field where the header holds all ones, and for a streamed record what the
// walk found behind its data. A parent directory that has no record of its
// own is all zero but for its name. Kept small: an archive of tiny records
// has one per record.
struct ZipEntry {
  uint64_t offset = 0;  // start of the member's data
  uint64_t compress_size = 0;
  uint64_t uncompress_size = 0;
  uint16_t compress_method = 0;  // 0 stored, 8 deflate
  uint16_t flags = 0;
  uint16_t dos_time = 0;
  uint16_t dos_date = 0;
  uint32_t crc32 = 0;
  uint32_t name_at = 0;  // where the index's pool holds the name
};

}  // namespace velm::io

#endif  // VELMIO_ZIP_ZIP_ENTRY_H_
