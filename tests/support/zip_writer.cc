#include "support/zip_writer.h"

#include <zlib.h>

#include <stdexcept>

namespace velm::test {

namespace {

void Put16(std::string& out, uint32_t value) {
  out.push_back(static_cast<char>(value & 0xff));
  out.push_back(static_cast<char>((value >> 8) & 0xff));
}

void Put32(std::string& out, uint32_t value) {
  Put16(out, value & 0xffff);
  Put16(out, value >> 16);
}

}  // namespace

std::string RawDeflate(const std::string& content, int level) {
  z_stream stream = {};
  if (deflateInit2(&stream, level, Z_DEFLATED, -MAX_WBITS, 8,
                   Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("deflateInit2");
  }
  std::string out(deflateBound(&stream, static_cast<uLong>(content.size())), '\0');
  stream.next_in =
      reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(&out[0]);
  stream.avail_out = static_cast<uInt>(out.size());
  int result = deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  if (result != Z_STREAM_END) throw std::runtime_error("deflate");
  return out;
}

uint32_t Crc32(const std::string& bytes) {
  return static_cast<uint32_t>(
      crc32(0, reinterpret_cast<const Bytef*>(bytes.data()),
            static_cast<uInt>(bytes.size())));
}

uint16_t DosDate(int year, int month, int day) {
  return static_cast<uint16_t>(((year - 1980) << 9) | (month << 5) | day);
}

uint16_t DosTime(int hour, int minute, int second) {
  return static_cast<uint16_t>((hour << 11) | (minute << 5) | (second / 2));
}

ZipWriter& ZipWriter::Add(const ZipRecord& record) {
  Written written{record, static_cast<uint32_t>(bytes_.size())};
  ZipRecord& r = written.record;
  if (!r.crc32) r.crc32 = Crc32(r.content);
  if (!r.compress_size) r.compress_size = static_cast<uint32_t>(r.data.size());
  if (!r.uncompress_size)
    r.uncompress_size = static_cast<uint32_t>(r.content.size());
  Put32(bytes_, 0x04034b50);
  Put16(bytes_, 20);
  Put16(bytes_, r.flags);
  Put16(bytes_, r.method);
  Put16(bytes_, r.dos_time);
  Put16(bytes_, r.dos_date);
  Put32(bytes_, *r.crc32);
  Put32(bytes_, *r.compress_size);
  Put32(bytes_, *r.uncompress_size);
  Put16(bytes_, r.name_length ? *r.name_length
                              : static_cast<uint16_t>(r.name.size()));
  Put16(bytes_, static_cast<uint32_t>(r.extra.size()));
  bytes_ += r.name;
  bytes_ += r.extra;
  data_offsets_.push_back(static_cast<uint32_t>(bytes_.size()));
  bytes_ += r.data;
  written_.push_back(written);
  return *this;
}

ZipWriter& ZipWriter::Stored(const std::string& name,
                             const std::string& content) {
  ZipRecord record;
  record.name = name;
  record.data = content;
  record.content = content;
  return Add(record);
}

ZipWriter& ZipWriter::Deflated(const std::string& name,
                               const std::string& content, int level) {
  ZipRecord record;
  record.name = name;
  record.data = RawDeflate(content, level);
  record.content = content;
  record.method = 8;
  return Add(record);
}

ZipWriter& ZipWriter::Bytes(const std::string& bytes) {
  bytes_ += bytes;
  return *this;
}

ZipWriter& ZipWriter::Finish() {
  const uint32_t directory_offset = static_cast<uint32_t>(bytes_.size());
  for (const Written& w : written_) {
    const ZipRecord& r = w.record;
    Put32(bytes_, 0x02014b50);
    Put16(bytes_, 20);
    Put16(bytes_, 20);
    Put16(bytes_, r.flags);
    Put16(bytes_, r.method);
    Put16(bytes_, r.dos_time);
    Put16(bytes_, r.dos_date);
    Put32(bytes_, *r.crc32);
    Put32(bytes_, *r.compress_size);
    Put32(bytes_, *r.uncompress_size);
    Put16(bytes_, static_cast<uint32_t>(r.name.size()));
    Put16(bytes_, 0);
    Put16(bytes_, 0);
    Put16(bytes_, 0);
    Put16(bytes_, 0);
    Put32(bytes_, 0);
    Put32(bytes_, w.header_offset);
    bytes_ += r.name;
  }
  const uint32_t directory_size =
      static_cast<uint32_t>(bytes_.size()) - directory_offset;
  Put32(bytes_, 0x06054b50);
  Put16(bytes_, 0);
  Put16(bytes_, 0);
  Put16(bytes_, static_cast<uint32_t>(written_.size()));
  Put16(bytes_, static_cast<uint32_t>(written_.size()));
  Put32(bytes_, directory_size);
  Put32(bytes_, directory_offset);
  Put16(bytes_, 0);
  return *this;
}

}  // namespace velm::test
