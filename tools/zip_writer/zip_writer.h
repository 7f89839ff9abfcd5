// Zip archives built record by record, for the tests, the benchmarks and the
// tool's pack. Every field of a record can be set, so that a record may also
// lie about its sizes, its CRC-32 or its name's length.
#ifndef VELMIO_TOOLS_ZIP_WRITER_ZIP_WRITER_H_
#define VELMIO_TOOLS_ZIP_WRITER_ZIP_WRITER_H_

#include <cstdint>
#include <string>
#include <vector>

#include "zip/zip_format.h"

namespace velm::zip {

// Raw deflate of content, as a member holds it: no zlib header or trailer.
// strategy is zlib's (0, its default, or Z_FIXED, Z_RLE, ...).
std::string Deflate(const std::string& content, int level, int strategy = 0);

// One member. The constructor fills every field from name and content: the
// data is content itself, or its raw deflate at level for kMethodDeflated
// (any other method keeps content as it is). Change a field afterwards to
// write something else; the sizes do not follow data by themselves. With
// zip64 the headers hold all ones and a Zip64 field the 64-bit sizes; set by
// the constructor for content of 4 GiB or more. Without it, the low 32 bits
// of the sizes stand in the headers as they are.
struct Record {
  Record(std::string name, std::string content, uint16_t method = kMethodStored, int level = 6);
  std::string name;
  std::string data;   // as the archive holds it
  std::string extra;  // its length is its size
  uint16_t version = kVersionDeflated;
  uint16_t flags = 0;
  uint16_t method;
  uint16_t dos_time = 0;
  uint16_t dos_date = 0;
  uint32_t crc;
  uint64_t compress_size;
  uint64_t uncompress_size;
  bool zip64;
  uint16_t name_length;
  uint32_t external_attributes = 0;  // central directory only
};

// Appends local records to bytes; Finish appends the central directory of
// those records and the end record, with the Zip64 end record and locator in
// front of it where the count or a position does not fit the end record. A
// record beyond 4 GiB gets a Zip64 field for its offset in the directory.
struct Writer {
  Writer& Add(const Record& record);
  Writer& Stored(const std::string& name, const std::string& content) {
    return Add(Record(name, content));
  }
  Writer& Deflated(const std::string& name, const std::string& content, int level = 6) {
    return Add(Record(name, content, kMethodDeflated, level));
  }
  Writer& Finish();
  // Hands out bytes and empties them, for a caller that writes as it goes;
  // offsets still count from the start of the archive.
  std::string Take();
  uint64_t size() const { return taken_ + bytes.size(); }  // of the archive so far

  std::string bytes;
  std::vector<uint64_t> data_offsets;  // in the order of Add

 private:
  std::string directory_;
  uint64_t taken_ = 0;
};

}  // namespace velm::zip

#endif  // VELMIO_TOOLS_ZIP_WRITER_ZIP_WRITER_H_
