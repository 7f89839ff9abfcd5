#include "zip_writer.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace velm::zip {
namespace {

constexpr uint16_t kVersionZip64 = 45;

// A Zip64 field of values, each 64-bit; none where there are none.
std::string Zip64Field(const std::vector<uint64_t>& values) {
  if (values.empty()) return "";
  std::string field;
  Put(field, kZip64ExtraTag, 2);
  Put(field, 8 * values.size(), 2);
  for (uint64_t value : values) Put(field, value, 8);
  return field;
}

// The fields that a local header and its central record share; extra goes
// behind the name.
void PutCommonFields(std::string& out, const Record& record, size_t extra_size) {
  Put(out, record.zip64 ? std::max(record.version, kVersionZip64) : record.version, 2);
  Put(out, record.flags, 2);
  Put(out, record.method, 2);
  Put(out, record.dos_time, 2);
  Put(out, record.dos_date, 2);
  Put(out, record.crc, 4);
  Put(out, record.zip64 ? kMax32 : record.compress_size, 4);
  Put(out, record.zip64 ? kMax32 : record.uncompress_size, 4);
  Put(out, record.name_length, 2);
  Put(out, extra_size, 2);
}

}  // namespace

std::string Deflate(const std::string& content, int level, int strategy) {
  z_stream stream{};
  if (deflateInit2(&stream, level, Z_DEFLATED, -MAX_WBITS, 8, strategy) != Z_OK) {
    throw std::runtime_error("deflateInit2 failed");
  }
  std::string out(deflateBound(&stream, static_cast<uLong>(content.size())), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(&out[0]);
  stream.avail_out = static_cast<uInt>(out.size());
  const int result = deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  if (result != Z_STREAM_END) throw std::runtime_error("deflate did not finish");
  return out;
}

Record::Record(std::string name, std::string content, uint16_t method, int level)
    : name(std::move(name)),
      method(method),
      crc(static_cast<uint32_t>(
          crc32_z(0, reinterpret_cast<const Bytef*>(content.data()), content.size()))),
      uncompress_size(content.size()),
      zip64(content.size() >= kMax32),
      name_length(static_cast<uint16_t>(this->name.size())) {
  data = method == kMethodDeflated ? Deflate(content, level) : std::move(content);
  compress_size = data.size();
}

Writer& Writer::Add(const Record& record) {
  const uint64_t offset = size();
  std::vector<uint64_t> values;
  if (record.zip64) values = {record.uncompress_size, record.compress_size};
  const std::string sizes = Zip64Field(values);
  Put(bytes, kLocalHeader, 4);
  PutCommonFields(bytes, record, sizes.size() + record.extra.size());
  bytes += record.name + sizes + record.extra;
  data_offsets.push_back(size());
  bytes += record.data;

  // The directory's Zip64 field holds the sizes, then the offset, each only
  // where its own field holds all ones.
  const bool far = offset >= kMax32;
  if (far) values.push_back(offset);
  const std::string central = Zip64Field(values);
  Put(directory_, kCentralHeader, 4);
  Put(directory_, kVersionDeflated, 2);  // made by: MS-DOS attributes, 2.0
  PutCommonFields(directory_, record, central.size() + record.extra.size());
  Put(directory_, 0, 2);  // comment length
  Put(directory_, 0, 2);  // disk number
  Put(directory_, 0, 2);  // internal attributes
  Put(directory_, record.external_attributes, 4);
  Put(directory_, far ? kMax32 : offset, 4);
  directory_ += record.name + central + record.extra;
  return *this;
}

Writer& Writer::Finish() {
  const uint64_t offset = size(), count = data_offsets.size(), length = directory_.size();
  bytes += directory_;
  if (count >= kMax16 || offset >= kMax32 || length >= kMax32) {
    const uint64_t record_at = size();
    Put(bytes, kZip64EndRecord, 4);
    Put(bytes, kZip64EndRecordSize - 12, 8);  // the size of what follows
    Put(bytes, kVersionZip64, 2);             // made by
    Put(bytes, kVersionZip64, 2);             // needed
    Put(bytes, 0, 8);                         // disk numbers
    Put(bytes, count, 8);
    Put(bytes, count, 8);
    Put(bytes, length, 8);
    Put(bytes, offset, 8);
    Put(bytes, kZip64Locator, 4);
    Put(bytes, 0, 4);  // disk of the Zip64 end record
    Put(bytes, record_at, 8);
    Put(bytes, 1, 4);  // disks in all
  }
  Put(bytes, kEndRecord, 4);
  Put(bytes, 0, 4);  // disk numbers
  Put(bytes, std::min<uint64_t>(count, kMax16), 2);
  Put(bytes, std::min<uint64_t>(count, kMax16), 2);
  Put(bytes, std::min<uint64_t>(length, kMax32), 4);
  Put(bytes, std::min<uint64_t>(offset, kMax32), 4);
  Put(bytes, 0, 2);  // comment length
  return *this;
}

std::string Writer::Take() {
  std::string out;
  out.swap(bytes);
  taken_ += out.size();
  return out;
}

}  // namespace velm::zip
