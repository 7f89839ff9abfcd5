#include "os/make_absolute_path.h"

#include <memory>
#include <string>

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
  platform::WCHAR work[kUnits];
  if (platform::PathIsRelativeW(wide.text)) {
    platform::DWORD current = platform::GetCurrentDirectoryW(kUnits, work);
    // 0 is a failure; a count of kUnits or more is the room a longer
    // directory would need, and nothing was written.
    if (current == 0 || current >= kUnits) return false;
    // One separator may come between the two.
    if (current + 1 + wide_length > kUnits - 1) return false;
    if (!platform::PathAppendW(work, wide.text)) return false;
  } else {
    if (wide_length > kUnits - 1) return false;
    std::char_traits<platform::WCHAR>::copy(work, wide.text, wide_length + 1);
  }

  size_t length = std::char_traits<platform::WCHAR>::length(work);
  std::unique_ptr<platform::WCHAR[]> flat(new platform::WCHAR[length + 1]);
  size_t used = 0;
  for (size_t i = 0; i < length; ++i) {
    if (!IsSeparator(work[i])) {
      flat[used++] = work[i];
    } else if (used == 0 || flat[used - 1] != platform::kPathSeparator) {
      flat[used++] = platform::kPathSeparator;
    }
  }
  if (used != 0 && flat[used - 1] == platform::kPathSeparator) --used;
  flat[used] = 0;

  platform::WCHAR canon[kUnits];
  if (!platform::PathCanonicalizeW(canon, flat.get())) return false;
  Utf8Path utf8(canon);
  out = utf8.text;
  return true;
}

}  // namespace velm::io
