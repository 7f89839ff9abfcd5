#include <queue>
#include <string>
#include <utility>
#include <vector>

#include "os/make_absolute_path.h"
#include "os/opener_os.h"
#include "os/utf8_path.h"
#include "os/wide_path.h"
#include "platform/platform.h"

namespace velm::io {
namespace {

// Ends the search on every way out, an allocation failure included.
class Search {
 public:
  explicit Search(const platform::WCHAR* pattern)
      : handle_(platform::FindFirstFileW(pattern, &found)) {}
  ~Search() {
    if (handle_ != INVALID_HANDLE_VALUE) platform::FindClose(handle_);
  }
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;

  bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  bool Next() { return platform::FindNextFileW(handle_, &found) != 0; }

  // Declared before handle_, which is filled by the call that fills it.
  platform::WIN32_FIND_DATAW found;

 private:
  platform::HANDLE handle_;
};

bool IsDotOrDotDot(const platform::WCHAR* name) {
  return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
}

// One path of a directory walk in both encodings: wide to build search
// patterns, utf8 to build the entries handed out.
struct DualPath {
  std::string utf8;
  platform::WideString wide;

  // Fills whichever form is empty from the other; two filled forms are left
  // as they are, without comparing them.
  void Sync() {
    if (utf8.empty() && !wide.empty()) {
      Utf8Path converted(wide.c_str());
      utf8 = converted.text;
    } else if (wide.empty() && !utf8.empty()) {
      WidePath converted(utf8.c_str());
      wide = converted.text;
    }
  }
};

// Sub-directories waiting to be scanned. A deque underneath, so the element
// being scanned keeps its address while new ones go in at the back.
using DualPathQueue = std::queue<DualPath>;

// Adds the files of base (of base/sub when sub is given) to out, named
// relative to base. With pending given, queues the sub-directories found.
void ScanDirectory(const DualPath& base, const DualPath* sub,
                   std::vector<std::string>& out, DualPathQueue* pending) {
  platform::WideString pattern = base.wide;
  if (sub != nullptr) {
    pattern += platform::kPathSeparator;
    pattern += sub->wide;
  }
  pattern += platform::kPathSeparator;
  pattern += '*';
  Search search(pattern.c_str());
  if (!search.IsOpen()) return;
  do {
    const platform::WCHAR* name = search.found.cFileName;
    if ((search.found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
      Utf8Path utf8(name);
      if (sub != nullptr) {
        out.push_back(sub->utf8 + platform::kPathSeparator + utf8.text);
      } else {
        out.push_back(utf8.text);
      }
    } else if (pending != nullptr && !IsDotOrDotDot(name)) {
      DualPath directory;
      if (sub != nullptr) {
        directory.wide = sub->wide;
        directory.wide += platform::kPathSeparator;
      }
      directory.wide += name;
      directory.Sync();
      pending->push(std::move(directory));
    }
  } while (search.Next());
}

}  // namespace

void OpenerOS::List(const std::string& path, std::vector<std::string>& out) {
  std::string absolute;
  if (!MakeAbsolutePath(path, absolute)) return;
  std::string pattern = absolute;
  if (absolute.empty()) {
    pattern = "*";
  } else if (absolute.back() == '\\' || absolute.back() == '/') {
    pattern += "*";
  } else {
    pattern += platform::kPathSeparator;
    pattern += "*";
  }
  WidePath wide(pattern.c_str());
  Search search(wide.text);
  if (!search.IsOpen()) return;
  do {
    if (IsDotOrDotDot(search.found.cFileName)) continue;
    Utf8Path name(search.found.cFileName);
    out.push_back(absolute + platform::kPathSeparator + name.text);
  } while (search.Next());
}

void OpenerOS::ListFiles(const std::string& path, bool recursive,
                         std::vector<std::string>& out) {
  DualPath base;
  base.utf8 = path;
  base.Sync();
  if (!recursive) {
    ScanDirectory(base, nullptr, out, nullptr);
    return;
  }
  DualPathQueue pending;
  ScanDirectory(base, nullptr, out, &pending);
  while (!pending.empty()) {
    ScanDirectory(base, &pending.front(), out, &pending);
    pending.pop();
  }
}

}  // namespace velm::io
