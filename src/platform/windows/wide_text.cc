#include "platform/windows/wide_text.h"

#include "platform/windows/win32.h"

namespace velm::platform::windows {

// Flags 0 in both directions: malformed input converts with the replacement
// character, so a conversion fails only on a destination that is too small.

int ConvertText(const char* source, wchar_t* destination, int units) {
  return MultiByteToWideChar(CP_UTF8, 0, source, -1, destination, units);
}

int ConvertText(const wchar_t* source, char* destination, int units) {
  return WideCharToMultiByte(CP_UTF8, 0, source, -1, destination, units, nullptr, nullptr);
}

}  // namespace velm::platform::windows
