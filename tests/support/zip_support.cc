#include "support/zip_support.h"

#include <zlib.h>

#include <ctime>
#include <stdexcept>

#include "platform/platform.h"
#include "support/test_support.h"

namespace velm::test {

namespace {

void Put(std::string& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) {
    out.push_back(static_cast<char>(value >> (8 * i)));
  }
}

// Raw deflate (no zlib header), as zip members hold it.
std::string RawDeflate(const std::string& content, int level) {
  z_stream stream = {};
  if (deflateInit2(&stream, level, Z_DEFLATED, -MAX_WBITS, 8,
                   Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("deflateInit2");
  }
  std::string out(deflateBound(&stream, static_cast<uLong>(content.size())),
                  '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(&out[0]);
  stream.avail_out = static_cast<uInt>(out.size());
  int result = deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  if (result != Z_STREAM_END) throw std::runtime_error("deflate");
  return out;
}

}  // namespace

ZipRecord::ZipRecord(std::string record_name, std::string record_content,
                     uint16_t record_method, int level)
    : name(std::move(record_name)),
      data(record_method == 8 ? RawDeflate(record_content, level)
                              : record_content),
      content(std::move(record_content)),
      method(record_method) {}

ZipWriter& ZipWriter::Add(const ZipRecord& r) {
  headers_.push_back(static_cast<uint32_t>(bytes_.size()));
  Put(bytes_, 0x04034b50, 4);
  Put(bytes_, 20, 2);
  Put(bytes_, r.flags, 2);
  Put(bytes_, r.method, 2);
  Put(bytes_, r.dos_time, 2);
  Put(bytes_, r.dos_date, 2);
  Put(bytes_, static_cast<uint32_t>(crc32(
                  0, reinterpret_cast<const Bytef*>(r.content.data()),
                  static_cast<uInt>(r.content.size()))), 4);
  Put(bytes_, r.compress_size.value_or(static_cast<uint32_t>(r.data.size())),
      4);
  Put(bytes_,
      r.uncompress_size.value_or(static_cast<uint32_t>(r.content.size())), 4);
  Put(bytes_, r.name_length.value_or(static_cast<uint16_t>(r.name.size())), 2);
  Put(bytes_, static_cast<uint32_t>(r.extra.size()), 2);
  bytes_ += r.name + r.extra;
  data_.push_back(static_cast<uint32_t>(bytes_.size()));
  bytes_ += r.data;
  return *this;
}

ZipWriter& ZipWriter::Finish() {
  // Nothing reads them; what matters is that they are no local records.
  bytes_ += std::string("PK\x01\x02", 4) + std::string(42, '\0');
  bytes_ += std::string("PK\x05\x06", 4) + std::string(18, '\0');
  return *this;
}

ZipPtr LoadBytes(const std::string& bytes, io::OpenerType type) {
  static TempDir dir;
  static int count = 0;
  // A new name each time: the mapped back-end keeps views by path.
  const std::string path = dir.Join(std::to_string(++count) + ".zip");
  WriteFile(path, bytes);
  return ZipPtr(io::LoadZip(path, io::GetOpener(type)));
}

std::string ReadAll(io::Input* input) {
  std::string all;
  char buffer[4096];
  for (int64_t got; (got = input->Read(buffer, sizeof buffer)) > 0;) {
    all.append(buffer, static_cast<size_t>(got));
  }
  return all;
}

std::string Contents(io::Opener* zip, const std::string& path) {
  std::unique_ptr<io::Input> input(zip->OpenInput(path));
  return input ? ReadAll(input.get()) : "<none>";
}

std::string Dump(io::Opener* zip) {
  std::vector<std::string> files;
  zip->ListFiles("", true, files);
  std::string out;
  for (const std::string& name : files) {
    out += (out.empty() ? "" : "|") + name + "=" + Contents(zip, name);
  }
  return out;
}

int64_t LocalTime(int year, int month, int day, int hour, int minute,
                  int second) {
  std::tm tm = {};
  tm.tm_year = year - 1900;
  tm.tm_mon = month - 1;
  tm.tm_mday = day;
  tm.tm_hour = hour;
  tm.tm_min = minute;
  tm.tm_sec = second;
  return platform::_mktime64(&tm);
}

}  // namespace velm::test
