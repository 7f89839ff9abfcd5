#ifndef VELMIO_TESTS_SUPPORT_TEST_SUPPORT_H_
#define VELMIO_TESTS_SUPPORT_TEST_SUPPORT_H_

#include <string>
#include <vector>

namespace velm::test {

// A fresh directory below the system's temporary folder, removed with all its
// contents when the object goes.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  // path() joined with name by the platform's separator.
  std::string Join(const std::string& name) const;

 private:
  std::string path_;
};

void WriteFile(const std::string& path, const std::string& bytes);
std::string ReadFile(const std::string& path);

// Open descriptors of this process; -1 where the platform cannot tell.
int CountOpenDescriptors();

// True for the Windows build running under Wine, whose runtime differs from
// Windows in a few documented behaviours.
bool UnderWine();

// Every line logged while the object lives, in the order written.
class LogCapture {
 public:
  struct Line {
    unsigned int channel;
    int level;
    bool is_error;
    std::string message;
  };
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  const std::vector<Line>& lines() const { return lines_; }
  std::vector<std::string> Errors() const;

 private:
  std::vector<Line> lines_;
};

}  // namespace velm::test

#endif  // VELMIO_TESTS_SUPPORT_TEST_SUPPORT_H_
