#include "central_directory.h"

#include <algorithm>

#include "input_reading.h"
#include "zip/zip_format.h"

namespace tool {

namespace zip = velm::zip;

namespace {

const unsigned char* Bytes(const std::string& text, size_t at = 0) {
  return reinterpret_cast<const unsigned char*>(text.data()) + at;
}

// Where the directory starts and ends, as the end records tell it.
struct DirectoryBounds {
  uint64_t offset = 0;
  uint64_t size = 0;
  uint64_t count = 0;
  uint64_t end_record = 0;  // position of the (zip64) end record in the file
};

// The last end record in the final 64 KiB + 22 bytes: the comment behind it
// may hold at most 65535 bytes.
bool FindEndRecord(velm::io::Input& archive, uint64_t file_size, std::string& tail,
                   uint64_t& tail_start, size_t& at) {
  size_t window =
      static_cast<size_t>(std::min<uint64_t>(file_size, zip::kEndRecordSize + zip::kMax16));
  tail_start = file_size - window;
  if (window < zip::kEndRecordSize || !ReadAt(archive, tail_start, window, tail)) return false;
  for (size_t i = window - zip::kEndRecordSize + 1; i-- > 0;) {
    if (zip::Get(Bytes(tail, i), 4) == zip::kEndRecord) {
      at = i;
      return true;
    }
  }
  return false;
}

bool ReadBounds(velm::io::Input& archive, DirectoryBounds& bounds, std::string& error) {
  int64_t file_size = archive.GetSize();
  std::string tail;
  uint64_t tail_start = 0;
  size_t at = 0;
  if (file_size <= 0 ||
      !FindEndRecord(archive, static_cast<uint64_t>(file_size), tail, tail_start, at)) {
    error = "no end of central directory record";
    return false;
  }
  const unsigned char* end = Bytes(tail, at);
  bounds.count = zip::Get(end + 10, 2);
  bounds.size = zip::Get(end + 12, 4);
  bounds.offset = zip::Get(end + 16, 4);
  bounds.end_record = tail_start + at;
  if (at < zip::kZip64LocatorSize ||
      zip::Get(Bytes(tail, at - zip::kZip64LocatorSize), 4) != zip::kZip64Locator) {
    return true;
  }
  uint64_t record_at = zip::Get(Bytes(tail, at - zip::kZip64LocatorSize + 8), 8);
  std::string record;
  if (!ReadAt(archive, record_at, zip::kZip64EndRecordSize, record) ||
      zip::Get(Bytes(record), 4) != zip::kZip64EndRecord) {
    error = "the zip64 end record is not where its locator points";
    return false;
  }
  bounds.count = zip::Get(Bytes(record, 32), 8);
  bounds.size = zip::Get(Bytes(record, 40), 8);
  bounds.offset = zip::Get(Bytes(record, 48), 8);
  bounds.end_record = record_at;
  return true;
}

// Values of the zip64 extra field replace, in this order, the fields of the
// record that hold 0xFFFFFFFF.
void ApplyZip64Extra(const unsigned char* extra, size_t size, CentralEntry& entry) {
  for (size_t pos = 0; pos + 4 <= size;) {
    uint64_t tag = zip::Get(extra + pos, 2);
    size_t length = static_cast<size_t>(zip::Get(extra + pos + 2, 2));
    const unsigned char* field = extra + pos + 4;
    pos += 4 + length;
    if (tag != zip::kZip64ExtraTag || pos > size) continue;
    size_t used = 0;
    for (uint64_t* value :
         {&entry.uncompressed_size, &entry.compressed_size, &entry.header_offset}) {
      if (*value != zip::kMax32 || used + 8 > length) continue;
      *value = zip::Get(field + used, 8);
      used += 8;
    }
  }
}

}  // namespace

bool ReadCentralDirectory(velm::io::Input& archive, CentralDirectory& out, std::string& error) {
  DirectoryBounds bounds;
  if (!ReadBounds(archive, bounds, error)) return false;
  // With a stub in front, the directory ends right before the end record
  // although its offset says otherwise: the difference is the stub.
  if (bounds.offset + bounds.size > bounds.end_record) {
    error = "the central directory overlaps its end record";
    return false;
  }
  out.stub_size = bounds.end_record - bounds.offset - bounds.size;
  std::string directory;
  if (bounds.size > bounds.end_record || !ReadAt(archive, bounds.offset + out.stub_size,
                                                 static_cast<size_t>(bounds.size), directory)) {
    error = "the central directory cannot be read";
    return false;
  }
  size_t pos = 0;
  for (uint64_t i = 0; i < bounds.count; ++i) {
    if (pos + zip::kCentralHeaderSize > directory.size() ||
        zip::Get(Bytes(directory, pos), 4) != zip::kCentralHeader) {
      error = "central header " + std::to_string(i + 1) + " is damaged";
      return false;
    }
    const unsigned char* header = Bytes(directory, pos);
    size_t name_size = static_cast<size_t>(zip::Get(header + 28, 2));
    size_t extra_size = static_cast<size_t>(zip::Get(header + 30, 2));
    size_t comment_size = static_cast<size_t>(zip::Get(header + 32, 2));
    size_t record_size = zip::kCentralHeaderSize + name_size + extra_size + comment_size;
    if (pos + record_size > directory.size()) {
      error = "central header " + std::to_string(i + 1) + " runs past the directory";
      return false;
    }
    CentralEntry entry;
    entry.flags = static_cast<uint16_t>(zip::Get(header + 8, 2));
    entry.method = static_cast<uint16_t>(zip::Get(header + 10, 2));
    entry.crc32 = static_cast<uint32_t>(zip::Get(header + 16, 4));
    entry.compressed_size = zip::Get(header + 20, 4);
    entry.uncompressed_size = zip::Get(header + 24, 4);
    entry.header_offset = zip::Get(header + 42, 4);
    entry.name = directory.substr(pos + zip::kCentralHeaderSize, name_size);
    ApplyZip64Extra(header + zip::kCentralHeaderSize + name_size, extra_size, entry);
    entry.header_offset += out.stub_size;
    out.entries.push_back(entry);
    pos += record_size;
  }
  return true;
}

bool ReadLocalHeader(velm::io::Input& archive, uint64_t offset, LocalHeader& out) {
  std::string header;
  if (!ReadAt(archive, offset, zip::kLocalHeaderSize, header) ||
      zip::Get(Bytes(header), 4) != zip::kLocalHeader) {
    return false;
  }
  out.flags = static_cast<uint16_t>(zip::Get(Bytes(header, 6), 2));
  out.compressed_size = static_cast<uint32_t>(zip::Get(Bytes(header, 18), 4));
  out.uncompressed_size = static_cast<uint32_t>(zip::Get(Bytes(header, 22), 4));
  out.data_offset = offset + zip::kLocalHeaderSize + zip::Get(Bytes(header, 26), 2) +
                    zip::Get(Bytes(header, 28), 2);
  return true;
}

}  // namespace tool
