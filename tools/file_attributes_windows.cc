#include <windows.h>

#include "file_attributes.h"

namespace tool {
namespace {

std::wstring Wide(const std::string& text) {
  const int units =
      MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring wide(static_cast<size_t>(units), L'\0');
  if (units > 0) {
    MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &wide[0], units);
  }
  return wide;
}

}  // namespace

bool IsLink(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(Wide(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT);
}

bool SetModifiedTime(const std::string& path, int64_t seconds) {
  // Directories open only with backup semantics.
  HANDLE file = CreateFileW(Wide(path).c_str(), FILE_WRITE_ATTRIBUTES,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                            OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  // 100-nanosecond steps since 1601.
  const uint64_t ticks = static_cast<uint64_t>(seconds) * 10000000ULL + 116444736000000000ULL;
  FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  const bool done = SetFileTime(file, nullptr, nullptr, &time) != 0;
  CloseHandle(file);
  return done;
}

}  // namespace tool
