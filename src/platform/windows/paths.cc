#include <cwchar>
#include <string>

#include "platform/native.h"
#include "platform/platform.h"
#include "platform/windows/wide_text.h"
#include "platform/windows/win32.h"
// After <windows.h>, which it needs.
#include <shlwapi.h>

namespace velm::platform {
namespace {

// Room for the current directory, terminator included.
constexpr DWORD kCurrentDirectoryUnits = 2048;

}  // namespace

bool IsRelativePath(const std::string& path) {
  windows::WidePath wide(path);
  // Refused text is empty, and the empty text is relative.
  if (wide.IsRefused()) return true;
  return PathIsRelativeW(wide.text) != FALSE;
}

namespace native {

bool CurrentDirectory(std::string& out) {
  wchar_t current[kCurrentDirectoryUnits];
  DWORD length = GetCurrentDirectoryW(kCurrentDirectoryUnits, current);
  // 0 is a failure; kCurrentDirectoryUnits or more is the room a longer
  // directory would need, and nothing was written.
  if (length == 0 || length >= kCurrentDirectoryUnits) return false;
  windows::Utf8Path utf8(current);
  out = utf8.text;
  return true;
}

bool Canonicalize(const std::string& absolute, std::string& out) {
  windows::WidePath wide(absolute);
  // PathCanonicalizeW is made for MAX_PATH units, terminator included, in
  // both of its buffers, and answers 0 for a result that does not fit.
  if (wide.IsRefused() || std::wcslen(wide.text) >= MAX_PATH) return false;
  // Results carry '\\', the one separator PathCanonicalizeW works with.
  windows::UseBackslashes(wide.text);
  wchar_t canonical[MAX_PATH];
  if (!PathCanonicalizeW(canonical, wide.text)) return false;
  windows::Utf8Path utf8(canonical);
  out = utf8.text;
  return true;
}

}  // namespace native
}  // namespace velm::platform
