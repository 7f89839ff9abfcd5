#ifndef VELMIO_TESTS_SUPPORT_ZIP_WRITER_H_
#define VELMIO_TESTS_SUPPORT_ZIP_WRITER_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velm::test {

// One local record, every field under the test's control. Unset sizes and
// CRC are computed from data and content.
struct ZipRecord {
  std::string name;
  std::string data;     // the bytes behind the header, as written
  std::string content;  // what data stands for uncompressed
  uint16_t method = 0;
  uint16_t flags = 0;
  uint16_t dos_time = 0;
  uint16_t dos_date = 0;
  std::string extra;
  std::optional<uint32_t> crc32;
  std::optional<uint32_t> compress_size;
  std::optional<uint32_t> uncompress_size;
  std::optional<uint16_t> name_length;  // may claim more than name holds
};

// Builds archives in memory from local records, with odd ones on request.
class ZipWriter {
 public:
  ZipWriter& Add(const ZipRecord& record);
  ZipWriter& Stored(const std::string& name, const std::string& content);
  ZipWriter& Deflated(const std::string& name, const std::string& content,
                      int level = 6);
  // Raw bytes behind the records: garbage, a data descriptor, and so on.
  ZipWriter& Bytes(const std::string& bytes);
  // A central directory and end record over the records so far, as tools
  // write them; the walk must stop at them.
  ZipWriter& Finish();

  const std::string& bytes() const { return bytes_; }
  // Where each record's data begins, in the order of Add.
  const std::vector<uint32_t>& data_offsets() const { return data_offsets_; }

 private:
  struct Written {
    ZipRecord record;
    uint32_t header_offset;
  };
  std::string bytes_;
  std::vector<uint32_t> data_offsets_;
  std::vector<Written> written_;
};

// Raw deflate (no zlib header), as zip members hold it.
std::string RawDeflate(const std::string& content, int level = 6);
uint32_t Crc32(const std::string& bytes);
// DOS date and time words of a local wall-clock time.
uint16_t DosDate(int year, int month, int day);
uint16_t DosTime(int hour, int minute, int second);

}  // namespace velm::test

#endif  // VELMIO_TESTS_SUPPORT_ZIP_WRITER_H_
