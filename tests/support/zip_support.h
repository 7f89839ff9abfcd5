#ifndef VELMIO_TESTS_SUPPORT_ZIP_SUPPORT_H_
#define VELMIO_TESTS_SUPPORT_ZIP_SUPPORT_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <velm/io/opener>

namespace velm::test {

// One local record, every field under the test's control. Unset sizes are
// those of data and content.
struct ZipRecord {
  // Method 8 deflates content into data; any other stores it as it is.
  ZipRecord(std::string record_name, std::string record_content,
            uint16_t record_method = 0, int level = 6);

  std::string name;
  std::string data;     // the bytes behind the header, as written
  std::string content;  // what data stands for uncompressed
  uint16_t method = 0;
  uint16_t flags = 0;
  uint16_t dos_time = 0;
  uint16_t dos_date = 0;
  std::string extra;
  std::optional<uint32_t> compress_size;
  std::optional<uint32_t> uncompress_size;
  std::optional<uint16_t> name_length;  // may claim more than name holds
};

// Builds archives in memory from local records, odd ones included.
class ZipWriter {
 public:
  ZipWriter& Add(const ZipRecord& record);
  ZipWriter& Stored(const std::string& name, const std::string& content) {
    return Add(ZipRecord(name, content));
  }
  ZipWriter& Deflated(const std::string& name, const std::string& content,
                      int level = 6) {
    return Add(ZipRecord(name, content, 8, level));
  }
  // A central directory and end record behind the records, where the walk
  // must stop.
  ZipWriter& Finish();

  const std::string& bytes() const { return bytes_; }
  // Where each record and its data begin, in the order of Add.
  const std::vector<uint32_t>& header_offsets() const { return headers_; }
  const std::vector<uint32_t>& data_offsets() const { return data_; }

 private:
  std::string bytes_;
  std::vector<uint32_t> headers_, data_;
};

struct ZipUnloader {
  void operator()(io::Opener* opener) const { io::UnloadZip(opener); }
};
using ZipPtr = std::unique_ptr<io::Opener, ZipUnloader>;

// Writes bytes to a new file of a folder that lasts as long as the program
// and loads it through a built-in back-end: stdio allows seeks past the end
// of the archive, the mapped one refuses them.
ZipPtr LoadBytes(const std::string& bytes,
                 io::OpenerType type = io::OpenerTypeCFile);

// Everything from the position to the end.
std::string ReadAll(io::Input* input);
// The whole member, or "<none>" when it does not open.
std::string Contents(io::Opener* zip, const std::string& path);
// "name=contents" of every file that ListFiles gives, joined by "|".
std::string Dump(io::Opener* zip);

// _mktime64 of a local wall-clock time, as DOS times are read.
int64_t LocalTime(int year, int month, int day, int hour, int minute,
                  int second);

}  // namespace velm::test

#endif  // VELMIO_TESTS_SUPPORT_ZIP_SUPPORT_H_
