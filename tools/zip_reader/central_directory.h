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

// The fields that a central header and a local header share.
struct RecordFields {
  std::string name;   // every byte of it, NULs included
  std::string extra;  // the extra field as it stands
  uint16_t flags = 0;
  uint16_t method = 0;
  uint32_t crc32 = 0;
  uint64_t compressed_size = 0;  // zip64 values where the record has them
  uint64_t uncompressed_size = 0;
};

struct CentralEntry : RecordFields {
  uint64_t header_offset = 0;  // position of the local header in the file
};

struct LocalHeader : RecordFields {
  uint64_t data_offset = 0;  // behind the name and the extra field
};

struct CentralDirectory {
  std::vector<CentralEntry> entries;
  // Bytes in front of the archive proper (a self-extractor stub), which the
  // offsets of the directory do not count; already added to header_offset.
  uint64_t stub_size = 0;
  uint64_t offset = 0;  // where the end record says the directory starts
  uint64_t size = 0;
  uint64_t end_record = 0;     // position of the end record
  uint64_t directory_end = 0;  // where the directory must end: the (zip64) end record
  uint64_t end_of_record = 0;  // behind the end record and its comment
  uint64_t file_size = 0;
  // Bytes of the directory behind its last counted header.
  uint64_t surplus = 0;
  // What the end records say that other readers may take differently.
  std::vector<std::string> faults;
};

// Finds the end record (and zip64 end record) and reads every central
// header. False with a reason in error when the archive has none or it is
// damaged.
bool ReadCentralDirectory(velm::io::Input& archive, CentralDirectory& out, std::string& error);

// The local header at offset, its sizes taken from a Zip64 field where they
// hold all ones; false when none is there.
bool ReadLocalHeader(velm::io::Input& archive, uint64_t offset, LocalHeader& out);

// The body of the first extra field with this tag; false when there is none.
bool FindExtraField(const std::string& extra, uint16_t tag, std::string& body);

// How many extra fields have this tag, up to the first that runs past the end.
size_t CountExtraFields(const std::string& extra, uint16_t tag);

}  // namespace tool

#endif  // VELMIO_TOOLS_CENTRAL_DIRECTORY_H_
