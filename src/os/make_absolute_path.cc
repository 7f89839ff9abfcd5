#include "os/make_absolute_path.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "os/utf8_path.h"
#include "os/wide_path.h"
#include "platform/platform.h"

namespace velm::io {
namespace {

constexpr size_t kUnits = platform::kPathBufferUnits;

bool IsSeparator(platform::WCHAR unit) { return unit == '\\' || unit == '/'; }

}  // namespace

bool MakeAbsolutePath(const std::string& path, std::string& out) {
  WidePath wide(path.c_str());
  size_t wide_length = std::char_traits<platform::WCHAR>::length(wide.text);
  // The absolute text before separator runs collapse; a relative path is
  // joined in a buffer sized to both texts, so that only the result is bounded.
  const platform::WCHAR* joined = wide.text;
  std::vector<platform::WCHAR> work;
  if (platform::PathIsRelativeW(wide.text)) {
    platform::WCHAR current[kUnits];
    platform::DWORD current_length = platform::GetCurrentDirectoryW(kUnits, current);
    // 0 is a failure; a count of kUnits or more is the room a longer
    // directory would need, and nothing was written.
    if (current_length == 0 || current_length >= kUnits) return false;
    // Room for both texts and one separator between, and never less than
    // the Windows call may write.
    work.resize(std::max<size_t>(kUnits, current_length + 1 + wide_length + 1));
    std::char_traits<platform::WCHAR>::copy(work.data(), current, current_length + 1);
    if (!platform::PathAppendW(work.data(), wide.text)) return false;
    joined = work.data();
  }

  size_t length = std::char_traits<platform::WCHAR>::length(joined);
  std::unique_ptr<platform::WCHAR[]> flat(new platform::WCHAR[length + 1]);
  size_t used = 0;
  for (size_t i = 0; i < length; ++i) {
    if (!IsSeparator(joined[i])) {
      flat[used++] = joined[i];
    } else if (used == 0 || flat[used - 1] != platform::kPathSeparator) {
      flat[used++] = platform::kPathSeparator;
    }
  }
  if (used != 0 && flat[used - 1] == platform::kPathSeparator) --used;
  flat[used] = 0;
  if (used + 1 > platform::kShellPathUnits) return false;

  platform::WCHAR canon[kUnits];
  if (!platform::PathCanonicalizeW(canon, flat.get())) return false;
  Utf8Path utf8(canon);
  out = utf8.text;
  return true;
}

}  // namespace velm::io
