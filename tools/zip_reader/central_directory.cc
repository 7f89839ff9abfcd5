#include "central_directory.h"

#include <algorithm>
#include <initializer_list>

#include "input_reading.h"
#include "zip/zip_format.h"

namespace tool {

namespace zip = velm::zip;

namespace {

// Every end record signature in the final 64 KiB + 22 bytes, the last
// first: the comment behind an end record holds at most 65535 bytes.
bool FindEndRecords(velm::io::Input& archive, uint64_t file_size, std::string& tail,
                    uint64_t& tail_start, std::vector<size_t>& found) {
  size_t window =
      static_cast<size_t>(std::min<uint64_t>(file_size, zip::kEndRecordSize + zip::kMax16));
  tail_start = file_size - window;
  if (window < zip::kEndRecordSize || !ReadAt(archive, tail_start, window, tail)) return false;
  for (size_t i = window - zip::kEndRecordSize + 1; i-- > 0;) {
    if (zip::Get(Bytes(tail, i), 4) == zip::kEndRecord) found.push_back(i);
  }
  return !found.empty();
}

// A field of the end record that the Zip64 end record repeats: readers take
// one or the other, so where both hold a value they must agree.
void CompareWithZip64(uint64_t value, uint64_t all_ones, uint64_t zip64_value, const char* what,
                      CentralDirectory& out) {
  if (value != all_ones && value != zip64_value) {
    out.faults.push_back("the end record and the Zip64 end record disagree on the " +
                         std::string(what));
  }
}

bool ReadBounds(velm::io::Input& archive, const std::string& tail, uint64_t tail_start, size_t at,
                CentralDirectory& out, uint64_t& count, std::string& error) {
  const unsigned char* end = Bytes(tail, at);
  count = zip::Get(end + 10, 2);
  out.size = zip::Get(end + 12, 4);
  out.offset = zip::Get(end + 16, 4);
  out.end_record = out.directory_end = tail_start + at;
  out.end_of_record = out.end_record + zip::kEndRecordSize + zip::Get(end + 20, 2);
  const bool zip64 = at >= zip::kZip64LocatorSize &&
                     zip::Get(Bytes(tail, at - zip::kZip64LocatorSize), 4) == zip::kZip64Locator;
  // Disk numbers and counts of one disk: a Zip64 archive may leave them all
  // ones here and give them in its own end record.
  const uint64_t disks = zip::Get(end + 4, 4), disk_count = zip::Get(end + 8, 2);
  if (!(disks == 0 || (zip64 && disks == zip::kMax32))) {
    out.faults.push_back("the end record names another disk");
  }
  if (disk_count != count) {
    out.faults.push_back("the end record counts the records of this disk and of all disks apart");
  }
  if (!zip64) return true;
  uint64_t record_at = zip::Get(Bytes(tail, at - zip::kZip64LocatorSize + 8), 8);
  std::string record;
  if (!ReadAt(archive, record_at, zip::kZip64EndRecordSize, record) ||
      zip::Get(Bytes(record), 4) != zip::kZip64EndRecord) {
    error = "the zip64 end record is not where its locator points";
    return false;
  }
  const uint64_t zip64_count = zip::Get(Bytes(record, 32), 8);
  if (zip::Get(Bytes(record, 16), 8) != 0 || zip::Get(Bytes(record, 24), 8) != zip64_count) {
    out.faults.push_back("the Zip64 end record names another disk");
  }
  CompareWithZip64(count, zip::kMax16, zip64_count, "count of records", out);
  CompareWithZip64(out.size, zip::kMax32, zip::Get(Bytes(record, 40), 8), "directory's size", out);
  CompareWithZip64(out.offset, zip::kMax32, zip::Get(Bytes(record, 48), 8), "directory's offset",
                   out);
  count = zip64_count;
  out.size = zip::Get(Bytes(record, 40), 8);
  out.offset = zip::Get(Bytes(record, 48), 8);
  out.directory_end = record_at;
  return true;
}

// Values of the zip64 extra field replace, in the order given, the fields
// that hold 0xFFFFFFFF.
void ApplyZip64Extra(const std::string& extra, std::initializer_list<uint64_t*> values) {
  std::string field;
  if (!FindExtraField(extra, zip::kZip64ExtraTag, field)) return;
  size_t used = 0;
  for (uint64_t* value : values) {
    if (*value != zip::kMax32 || used + 8 > field.size()) continue;
    *value = zip::Get(Bytes(field, used), 8);
    used += 8;
  }
}

// The fields at the same places in both kinds of header: behind the
// signature, a central header has one more version field than a local one.
void ReadSharedFields(const unsigned char* header, RecordFields& out) {
  out.flags = static_cast<uint16_t>(zip::Get(header + 2, 2));
  out.method = static_cast<uint16_t>(zip::Get(header + 4, 2));
  out.crc32 = static_cast<uint32_t>(zip::Get(header + 10, 4));
  out.compressed_size = zip::Get(header + 14, 4);
  out.uncompressed_size = zip::Get(header + 18, 4);
}

bool ReadDirectoryAt(velm::io::Input& archive, const std::string& tail, uint64_t tail_start,
                     size_t at, CentralDirectory& out, std::string& error) {
  uint64_t count = 0;
  if (!ReadBounds(archive, tail, tail_start, at, out, count, error)) return false;
  // With a stub in front, the directory ends right before the end record
  // although its offset says otherwise: the difference is the stub.
  if (out.size > out.directory_end || out.offset > out.directory_end - out.size) {
    error = "the central directory overlaps its end record";
    return false;
  }
  out.stub_size = out.directory_end - out.offset - out.size;
  std::string directory;
  if (!ReadAt(archive, out.offset + out.stub_size, static_cast<size_t>(out.size), directory)) {
    error = "the central directory cannot be read";
    return false;
  }
  size_t pos = 0;
  for (uint64_t i = 0; i < count; ++i) {
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
    ReadSharedFields(header + 6, entry);
    entry.header_offset = zip::Get(header + 42, 4);
    entry.name = directory.substr(pos + zip::kCentralHeaderSize, name_size);
    entry.extra = directory.substr(pos + zip::kCentralHeaderSize + name_size, extra_size);
    ApplyZip64Extra(entry.extra,
                    {&entry.uncompressed_size, &entry.compressed_size, &entry.header_offset});
    entry.header_offset += out.stub_size;
    out.entries.push_back(std::move(entry));
    pos += record_size;
  }
  out.surplus = directory.size() - pos;
  return true;
}

// Calls visit(tag, at, length) for each well-formed field, until it gives false.
template <typename Visit>
void VisitExtraFields(const std::string& extra, Visit visit) {
  for (size_t pos = 0; pos + 4 <= extra.size();) {
    const size_t length = static_cast<size_t>(zip::Get(Bytes(extra, pos + 2), 2));
    if (pos + 4 + length > extra.size()) return;
    if (!visit(static_cast<uint16_t>(zip::Get(Bytes(extra, pos), 2)), pos + 4, length)) return;
    pos += 4 + length;
  }
}

}  // namespace

bool FindExtraField(const std::string& extra, uint16_t tag, std::string& body) {
  bool found = false;
  VisitExtraFields(extra, [&](uint16_t field, size_t at, size_t length) {
    if (field == tag) body = extra.substr(at, length);
    found = field == tag;
    return !found;
  });
  return found;
}

size_t CountExtraFields(const std::string& extra, uint16_t tag) {
  size_t count = 0;
  VisitExtraFields(extra, [&](uint16_t field, size_t, size_t) {
    count += field == tag;
    return true;
  });
  return count;
}

// Where several end records stand, the last one that leads to a directory
// counts, and check names the others.
bool ReadCentralDirectory(velm::io::Input& archive, CentralDirectory& out, std::string& error) {
  const int64_t file_size = archive.GetSize();
  std::string tail;
  uint64_t tail_start = 0;
  std::vector<size_t> found;
  if (file_size <= 0 ||
      !FindEndRecords(archive, static_cast<uint64_t>(file_size), tail, tail_start, found)) {
    error = "no end of central directory record";
    return false;
  }
  for (size_t at : found) {
    CentralDirectory attempt;
    std::string why;
    attempt.file_size = static_cast<uint64_t>(file_size);
    if (ReadDirectoryAt(archive, tail, tail_start, at, attempt, why)) {
      out = std::move(attempt);
      return true;
    }
    if (error.empty()) error = why;
  }
  return false;
}

bool ReadLocalHeader(velm::io::Input& archive, uint64_t offset, LocalHeader& out) {
  std::string header;
  if (!ReadAt(archive, offset, zip::kLocalHeaderSize, header) ||
      zip::Get(Bytes(header), 4) != zip::kLocalHeader) {
    return false;
  }
  ReadSharedFields(Bytes(header, 4), out);
  size_t name_size = static_cast<size_t>(zip::Get(Bytes(header, 26), 2));
  size_t extra_size = static_cast<size_t>(zip::Get(Bytes(header, 28), 2));
  std::string tail;
  if (!ReadAt(archive, offset + zip::kLocalHeaderSize, name_size + extra_size, tail)) return false;
  out.name = tail.substr(0, name_size);
  out.extra = tail.substr(name_size);
  ApplyZip64Extra(out.extra, {&out.uncompressed_size, &out.compressed_size});
  out.data_offset = offset + zip::kLocalHeaderSize + name_size + extra_size;
  return true;
}

}  // namespace tool
