// The tool's own reader of an archive's central directory and local headers,
// zip64 records included, so that check can compare what the archive holds
// with what the library sees. Debian ships no zip-reading library for the
// Windows cross build, hence this small reader.
#ifndef VELMIO_TOOLS_CENTRAL_DIRECTORY_H_
#define VELMIO_TOOLS_CENTRAL_DIRECTORY_H_

#include <cstdint>
#include <string>
#include <vector>

#include <velm/io/stream>

namespace tool {

struct CentralEntry {
  std::string name;
  uint16_t flags = 0;
  uint16_t method = 0;
  uint32_t crc32 = 0;
  uint64_t compressed_size = 0;  // zip64 values where the record has them
  uint64_t uncompressed_size = 0;
  uint64_t header_offset = 0;  // position of the local header in the file
};

struct LocalHeader {
  uint16_t flags = 0;
  uint32_t compressed_size = 0;  // as the header holds them, 0xFFFFFFFF for zip64
  uint32_t uncompressed_size = 0;
  uint64_t data_offset = 0;  // behind the name and the extra field
};

struct CentralDirectory {
  std::vector<CentralEntry> entries;
  // Bytes in front of the archive proper (a self-extractor stub), which the
  // offsets of the directory do not count; already added to header_offset.
  uint64_t stub_size = 0;
};

// Finds the end record (and zip64 end record) and reads every central
// header. False with a reason in error when the archive has none or it is
// damaged.
bool ReadCentralDirectory(velm::io::Input& archive, CentralDirectory& out, std::string& error);

// The local header at offset; false when none is there.
bool ReadLocalHeader(velm::io::Input& archive, uint64_t offset, LocalHeader& out);

}  // namespace tool

#endif  // VELMIO_TOOLS_CENTRAL_DIRECTORY_H_
