#ifndef VELMIO_ZIP_LOCAL_RECORD_H_
#define VELMIO_ZIP_LOCAL_RECORD_H_

#include <cstdint>
#include <string>

#include <velm/io/stream>

#include "zip/inflate_member.h"
#include "zip/zip_entry.h"

namespace velm::io {

// One local record as the walk reads it.
struct LocalRecord {
  ZipEntry entry;
  // The name up to its first NUL, although the record holds all its bytes.
  std::string name;
  // The sizes as the header holds them, which the walk's log line prints.
  uint32_t header_compress_size = 0;
  uint32_t header_uncompress_size = 0;
  // Where the name ends: bytes up to here were read, so the archive really
  // holds them, unlike the sizes a record claims.
  int64_t name_end = 0;
  // Kept from one record to the next by a walk that reuses the record.
  MeasureBlock measure_block;
};

// Reads the record at input's position and leaves input behind it: behind its
// data, and behind its data descriptor where one is recognised. False at the
// first thing that is not a well-formed record, or whose end cannot be found.
bool ReadLocalRecord(Input* input, LocalRecord& record);

}  // namespace velm::io

#endif  // VELMIO_ZIP_LOCAL_RECORD_H_
