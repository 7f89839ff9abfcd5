#include "os/opener_os.h"

#include <cstdint>

#include "os/make_absolute_path.h"
#include "os/owned_handle.h"
#include "os/wide_path.h"
#include "platform/platform.h"

namespace velm::io {
namespace {

constexpr unsigned short kNoUi = FOF_SILENT | FOF_NOCONFIRMATION |
                                 FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;

// The shell's calls take only '\\' on Windows; both separators are alike on
// input, so each reaches them as the platform's own.
void UseOwnSeparators(WidePath& wide) {
  for (platform::WCHAR* unit = wide.text; *unit != 0; ++unit) {
    if (*unit == '/' || *unit == '\\') *unit = platform::kPathSeparator;
  }
}

// Attributes of path, or INVALID_FILE_ATTRIBUTES.
platform::DWORD Attributes(const std::string& path) {
  WidePath wide(path.c_str());
  return platform::GetFileAttributesW(wide.text);
}

}  // namespace

OpenerOS::OpenerOS(OpenerType type, const char* name) : type(type), name(name) {}

OpenerOS::~OpenerOS() = default;

OpenerType OpenerOS::GetType() const { return type; }

const std::string& OpenerOS::GetName() const { return name; }

const std::string& OpenerOS::GetRoot() const { return root; }

bool OpenerOS::IsFile(const std::string& path) {
  platform::DWORD attributes = Attributes(path);
  return attributes != INVALID_FILE_ATTRIBUTES &&
         (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool OpenerOS::IsDirectory(const std::string& path) {
  platform::DWORD attributes = Attributes(path);
  return attributes != INVALID_FILE_ATTRIBUTES &&
         (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool OpenerOS::StandardizePath(const std::string& path, std::string& out) {
  return MakeAbsolutePath(path, out);
}

int64_t OpenerOS::GetModifiedTime(const std::string& path) {
  WidePath wide(path.c_str());
  // No FILE_FLAG_BACKUP_SEMANTICS: a directory gives no handle, hence -1.
  platform::HANDLE opened =
      platform::CreateFileW(wide.text, GENERIC_READ, FILE_SHARE_READ, nullptr,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return -1;
  OwnedHandle file(opened);
  platform::FILETIME written;
  if (!platform::GetFileTime(file.get(), nullptr, nullptr, &written)) return -1;
  uint64_t ticks = (static_cast<uint64_t>(written.dwHighDateTime) << 32) |
                   written.dwLowDateTime;
  return static_cast<int64_t>(ticks / platform::kTicksPerSecond) -
         platform::kSecondsFrom1601To1970;
}

bool OpenerOS::CreateDirectories(const std::string& path) {
  WidePath wide(path.c_str());
  UseOwnSeparators(wide);
  return platform::SHCreateDirectoryExW(nullptr, wide.text, nullptr) == 0;
}

bool OpenerOS::RemoveFile(const std::string& path) {
  WidePath wide(path.c_str());
  return platform::DeleteFileW(wide.text) == 1;
}

bool OpenerOS::RemoveDirectory(const std::string& path) {
  WidePath wide(path.c_str());
  UseOwnSeparators(wide);
  platform::SHFILEOPSTRUCTW operation{};
  operation.wFunc = FO_DELETE;
  // WidePath ends its text in two NULs, which makes it a one-name list.
  operation.pFrom = wide.text;
  operation.fFlags = kNoUi;
  return platform::SHFileOperationW(&operation) == 0;
}

}  // namespace velm::io
