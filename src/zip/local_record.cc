#include "zip/local_record.h"

#include <cstring>
#include <limits>

#include "zip/streamed_record.h"
#include "zip/zip_format.h"

namespace velm::io {
namespace {

// Where the header holds all ones, the Zip64 field of extra gives the 64-bit
// size: uncompressed first, then compressed, each present only where the
// header holds all ones. Without the field the header's value stands. True
// if extra holds the field.
bool ApplyZip64(const std::string& extra, ZipEntry& entry) {
  const auto* p = reinterpret_cast<const unsigned char*>(extra.data());
  for (size_t at = 0; at + 4 <= extra.size();) {
    const size_t body = at + 4, end = body + zip::Little16(p + at + 2);
    if (end > extra.size()) return false;
    if (zip::Little16(p + at) == zip::kZip64ExtraTag) {
      size_t next = body;
      for (uint64_t* size : {&entry.uncompress_size, &entry.compress_size}) {
        if (*size != zip::kMax32 || next + 8 > end) continue;
        *size = zip::Get(p + next, 8);
        next += 8;
      }
      return true;
    }
    at = end;
  }
  return false;
}

}  // namespace

bool ReadLocalRecord(Input* input, LocalRecord& record) {
  unsigned char header[zip::kLocalHeaderSize];
  if (input->Read(header, zip::kLocalHeaderSize) != static_cast<int64_t>(zip::kLocalHeaderSize) ||
      zip::Little32(header) != zip::kLocalHeader) {
    return false;
  }
  ZipEntry& entry = record.entry;
  entry = ZipEntry();
  entry.flags = zip::Little16(header + 6);
  entry.compress_method = zip::Little16(header + 8);
  entry.dos_time = zip::Little16(header + 10);
  entry.dos_date = zip::Little16(header + 12);
  entry.crc32 = zip::Little32(header + 14);
  record.header_compress_size = zip::Little32(header + 18);
  record.header_uncompress_size = zip::Little32(header + 22);
  entry.compress_size = record.header_compress_size;
  entry.uncompress_size = record.header_uncompress_size;
  const uint16_t name_length = zip::Little16(header + 26);
  const uint16_t extra_length = zip::Little16(header + 28);

  record.name.assign(name_length, '\0');
  if (name_length > 0 && input->Read(&record.name[0], name_length) != name_length) return false;
  record.name.resize(std::strlen(record.name.c_str()));

  // The extra field is read only where it can change the record: a Zip64
  // field gives sizes, and tells a streamed record's descriptor's width.
  const bool streamed = (entry.flags & zip::kFlagDataDescriptor) != 0;
  bool zip64 = false;
  if (streamed || entry.compress_size == zip::kMax32 || entry.uncompress_size == zip::kMax32) {
    std::string extra(extra_length, '\0');
    if (extra_length > 0 && input->Read(&extra[0], extra_length) != extra_length) return false;
    zip64 = ApplyZip64(extra, entry);
    // A stream's size is a signed 64-bit number.
    if (entry.uncompress_size > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
      return false;
    }
  } else if (input->Seek(static_cast<int64_t>(extra_length), 1) == -1) {
    return false;
  }
  const int64_t data_start = input->Tell();
  // A failing Tell would place the member at a position of -1.
  if (data_start < 0) return false;
  entry.offset = static_cast<uint64_t>(data_start);
  record.name_end = data_start - extra_length;
  if (streamed) return FindStreamedEnd(input, zip64, entry, record.measure_block);
  if (entry.compress_size > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()))
    return false;
  return input->Seek(static_cast<int64_t>(entry.compress_size), 1) != -1;
}

}  // namespace velm::io
