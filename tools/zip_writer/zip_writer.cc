#include "zip_writer.h"

#include <zlib.h>

#include <stdexcept>
#include <utility>

namespace velm::zip {
namespace {

// The fields that a local header and its central record share.
void PutCommonFields(std::string& out, const Record& record) {
  Put(out, record.version, 2);
  Put(out, record.flags, 2);
  Put(out, record.method, 2);
  Put(out, record.dos_time, 2);
  Put(out, record.dos_date, 2);
  Put(out, record.crc, 4);
  Put(out, record.compress_size, 4);
  Put(out, record.uncompress_size, 4);
  Put(out, record.name_length, 2);
  Put(out, record.extra.size(), 2);
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
      uncompress_size(static_cast<uint32_t>(content.size())),
      name_length(static_cast<uint16_t>(this->name.size())) {
  data = method == kMethodDeflated ? Deflate(content, level) : std::move(content);
  compress_size = static_cast<uint32_t>(data.size());
}

Writer& Writer::Add(const Record& record) {
  const uint64_t offset = size();
  Put(bytes, kLocalHeader, 4);
  PutCommonFields(bytes, record);
  bytes += record.name + record.extra;
  data_offsets.push_back(size());
  bytes += record.data;

  Put(directory_, kCentralHeader, 4);
  Put(directory_, kVersionDeflated, 2);  // made by: MS-DOS attributes, 2.0
  PutCommonFields(directory_, record);
  Put(directory_, 0, 2);  // comment length
  Put(directory_, 0, 2);  // disk number
  Put(directory_, 0, 2);  // internal attributes
  Put(directory_, record.external_attributes, 4);
  Put(directory_, offset, 4);
  directory_ += record.name + record.extra;
  return *this;
}

Writer& Writer::Finish() {
  const uint64_t offset = size();
  bytes += directory_;
  Put(bytes, kEndRecord, 4);
  Put(bytes, 0, 4);  // disk numbers
  Put(bytes, data_offsets.size(), 2);
  Put(bytes, data_offsets.size(), 2);
  Put(bytes, directory_.size(), 4);
  Put(bytes, offset, 4);
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
