#include <string>
#include <vector>

#include "platform/native.h"
#include "platform/platform.h"
#include "platform/windows/wide_text.h"
#include "platform/windows/win32.h"

namespace velm::platform::native {
namespace {

// One directory search, ended on every way out, an allocation failure
// included.
class Search {
 public:
  explicit Search(const wchar_t* pattern) : handle_(FindFirstFileW(pattern, &found_)) {}
  ~Search() {
    if (IsOpen()) FindClose(handle_);
  }
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;

  bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  // False at the end and on a failure alike.
  bool Next() { return FindNextFileW(handle_, &found_) != 0; }
  const WIN32_FIND_DATAW& found() const { return found_; }

 private:
  WIN32_FIND_DATAW found_;
  HANDLE handle_;
};

}  // namespace

bool ListDirectory(const std::string& directory, std::vector<DirectoryEntry>& out) {
  // The empty directory is the root of the current drive.
  windows::WidePath pattern(directory + "\\*");
  if (pattern.IsRefused()) return false;
  Search search(pattern.text);
  if (!search.IsOpen()) return false;
  do {
    windows::Utf8Path name(search.found().cFileName);
    bool is_directory = (search.found().dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    out.push_back(DirectoryEntry{name.text, is_directory});
  } while (search.Next());
  return true;
}

}  // namespace velm::platform::native
