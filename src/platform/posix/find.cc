#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "platform/posix/handle.h"

namespace platform::native {
namespace {

using posix::FromHandle;
using posix::Handle;

// Fills found from entry. Only a link or an unknown type costs a stat; a link
// to a directory counts as a directory, a dangling one as a file.
void Fill(DIR* directory, const dirent* entry, WIN32_FIND_DATAW* found) {
  std::memset(found, 0, sizeof(*found));
  bool is_directory = entry->d_type == DT_DIR;
  if (entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN) {
    struct stat status;
    is_directory = ::fstatat(::dirfd(directory), entry->d_name, &status, 0) == 0 &&
                   S_ISDIR(status.st_mode);
  }
  found->dwFileAttributes =
      is_directory ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
  WideString name = posix::ToWide(entry->d_name);
  // A name of 255 bytes never needs more units than that; the bound is a guard.
  size_t units = std::min(name.size(), sizeof(found->cFileName) / sizeof(WCHAR) - 1);
  name.copy(found->cFileName, units);
  found->cFileName[units] = 0;
}

}  // namespace

HANDLE FindFirstFileW(const WCHAR* pattern, WIN32_FIND_DATAW* found) {
  if (pattern == nullptr || found == nullptr) return INVALID_HANDLE_VALUE;
  std::string directory = posix::ToNativePath(pattern);
  // Only "every entry" patterns are asked for: the last segment is "*".
  if (directory.empty() || directory.back() != '*') return INVALID_HANDLE_VALUE;
  directory.pop_back();
  if (!directory.empty()) {
    if (directory.back() != '/') return INVALID_HANDLE_VALUE;
  } else {
    directory = ".";
  }
  std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(directory.c_str()),
                                              &::closedir);
  if (stream == nullptr) return INVALID_HANDLE_VALUE;
  const dirent* entry = ::readdir(stream.get());
  if (entry == nullptr) return INVALID_HANDLE_VALUE;
  Fill(stream.get(), entry, found);
  auto* search = new Handle(Handle::Kind::kSearch);
  search->directory = stream.release();
  return search;
}

BOOL FindNextFileW(HANDLE search, WIN32_FIND_DATAW* found) {
  if (search == nullptr || search == INVALID_HANDLE_VALUE || found == nullptr) return 0;
  Handle* object = FromHandle(search);
  if (object->kind != Handle::Kind::kSearch) return 0;
  const dirent* entry = ::readdir(object->directory);
  if (entry == nullptr) return 0;
  Fill(object->directory, entry, found);
  return 1;
}

BOOL FindClose(HANDLE search) {
  if (search == nullptr || search == INVALID_HANDLE_VALUE) return 0;
  Handle* object = FromHandle(search);
  if (object->kind != Handle::Kind::kSearch) return 0;
  int result = ::closedir(object->directory);
  object->directory = nullptr;
  delete object;
  return result == 0 ? 1 : 0;
}

}  // namespace platform::native
