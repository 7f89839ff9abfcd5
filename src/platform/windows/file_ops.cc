#include <cstdint>
#include <string>

#include "platform/native.h"
#include "platform/platform.h"
#include "platform/windows/file_identity.h"
#include "platform/windows/owned_handle.h"
#include "platform/windows/wide_text.h"
#include "platform/windows/win32.h"
// After <windows.h>, which they need.
#include <shellapi.h>
#include <shlobj.h>

namespace velm::platform::native {
namespace {

// A FILETIME counts 100 ns ticks from 1601-01-01, this many seconds before
// 1970-01-01.
constexpr std::uint64_t kTicksPerSecond = 10000000;
constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;

constexpr FILEOP_FLAGS kNoUi = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;

}  // namespace

FileKind KindOf(const std::string& path) {
  windows::WidePath wide(path);
  if (wide.IsRefused()) return FileKind::kMissing;
  DWORD attributes = GetFileAttributesW(wide.text);
  if (attributes == INVALID_FILE_ATTRIBUTES) return FileKind::kMissing;
  return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? FileKind::kDirectory : FileKind::kFile;
}

bool IdentityOf(const std::string& path, FileIdentity& out) {
  windows::WidePath wide(path);
  if (wide.IsRefused()) return false;
  // No access asked for, and every share mode: the question is answered
  // whoever holds the file open, a directory included.
  HANDLE opened = CreateFileW(wide.text, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return false;
  windows::OwnedHandle file(opened);
  return windows::IdentityOfHandle(file.get(), out);
}

std::int64_t ModifiedTime(const std::string& path) {
  windows::WidePath wide(path);
  if (wide.IsRefused()) return -1;
  // No FILE_FLAG_BACKUP_SEMANTICS: a directory gives no handle, hence -1.
  HANDLE opened = CreateFileW(wide.text, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return -1;
  windows::OwnedHandle file(opened);
  FILETIME written;
  if (!GetFileTime(file.get(), nullptr, nullptr, &written)) return -1;
  std::uint64_t ticks =
      (static_cast<std::uint64_t>(written.dwHighDateTime) << 32) | written.dwLowDateTime;
  return static_cast<std::int64_t>(ticks / kTicksPerSecond) - kSecondsFrom1601To1970;
}

bool CreateDirectories(const std::string& path) {
  windows::WidePath wide(path);
  if (wide.IsRefused()) return false;
  windows::UseBackslashes(wide.text);
  return SHCreateDirectoryExW(nullptr, wide.text, nullptr) == ERROR_SUCCESS;
}

bool RemoveFile(const std::string& path) {
  windows::WidePath wide(path);
  if (wide.IsRefused()) return false;
  return DeleteFileW(wide.text) == TRUE;
}

bool RemoveTree(const std::string& path) {
  windows::WidePath wide(path);
  if (wide.IsRefused()) return false;
  windows::UseBackslashes(wide.text);
  SHFILEOPSTRUCTW operation{};
  operation.wFunc = FO_DELETE;
  // The second NUL behind the text makes it a list of one name. No
  // FOF_ALLOWUNDO: nothing goes to a recycle bin.
  operation.pFrom = wide.text;
  operation.fFlags = kNoUi;
  return SHFileOperationW(&operation) == 0;
}

}  // namespace velm::platform::native
