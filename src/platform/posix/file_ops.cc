#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/posix/handle.h"

namespace platform::native {
namespace {

// Windows error codes for the answers that platform.h does not name.
constexpr int kErrorPathNotFound = 3;
constexpr int kErrorAccessDenied = 5;
constexpr int kErrorFilenameTooLong = 206;
constexpr int kErrorInvalidFunction = 1;
constexpr int kErrorNoMoreFiles = 18;

int ErrorFromErrno(int error) {
  switch (error) {
    case EEXIST:
      return ERROR_ALREADY_EXISTS;
    case EACCES:
    case EPERM:
    case EROFS:
      return kErrorAccessDenied;
    case ENAMETOOLONG:
      return kErrorFilenameTooLong;
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    default:
      return kErrorPathNotFound;
  }
}

int RemoveEntry(const char* path, const struct stat*, int type, struct FTW*) {
  // FTW_DP and FTW_DNR are directories, after their contents (FTW_DEPTH); an
  // unreadable one fails here unless it is already empty.
  int result = (type == FTW_DP || type == FTW_DNR) ? ::rmdir(path) : ::unlink(path);
  return result == 0 ? 0 : ErrorFromErrno(errno);
}

int RemoveTree(std::string path) {
  // A trailing slash would make lstat follow a link to a directory.
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  struct stat status;
  if (::lstat(path.c_str(), &status) != 0) return ErrorFromErrno(errno);
  // A link is removed itself, never what it points at.
  if (!S_ISDIR(status.st_mode)) {
    return ::unlink(path.c_str()) == 0 ? 0 : ErrorFromErrno(errno);
  }
  int result = ::nftw(path.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
  if (result == -1) return ErrorFromErrno(errno);
  return result;
}

}  // namespace

DWORD GetFileAttributesW(const WCHAR* path) {
  if (path == nullptr) return INVALID_FILE_ATTRIBUTES;
  struct stat status;
  if (::stat(posix::ToNativePath(path).c_str(), &status) != 0) {
    return INVALID_FILE_ATTRIBUTES;
  }
  return S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
}

BOOL DeleteFileW(const WCHAR* path) {
  if (path == nullptr) return 0;
  std::string native = posix::ToNativePath(path);
  struct stat status;
  if (::lstat(native.c_str(), &status) != 0 || S_ISDIR(status.st_mode)) return 0;
  return ::unlink(native.c_str()) == 0 ? 1 : 0;
}

int SHCreateDirectoryExW(void*, const WCHAR* path, const void*) {
  // Either separator at the start makes a path absolute, as in PathIsRelativeW.
  if (path == nullptr || (path[0] != u'/' && path[0] != u'\\')) return ERROR_BAD_PATHNAME;
  std::string native = posix::ToNativePath(path);
  while (native.size() > 1 && native.back() == '/') native.pop_back();
  // Parents first; a failure among them shows in the last mkdir.
  for (size_t slash = native.find('/', 1); slash != std::string::npos;
       slash = native.find('/', slash + 1)) {
    if (native[slash - 1] == '/') continue;
    ::mkdir(native.substr(0, slash).c_str(), 0777);
  }
  if (::mkdir(native.c_str(), 0777) == 0) return 0;
  return ErrorFromErrno(errno);
}

int SHFileOperationW(SHFILEOPSTRUCTW* operation) {
  if (operation == nullptr) return kErrorInvalidFunction;
  operation->fAnyOperationsAborted = 0;
  if (operation->wFunc != FO_DELETE) return kErrorInvalidFunction;
  const WCHAR* name = operation->pFrom;
  if (name == nullptr || name[0] == 0) return kErrorNoMoreFiles;
  // pFrom is a list of names, each ended by a NUL, the list by a second one.
  for (; name[0] != 0; name += std::char_traits<WCHAR>::length(name) + 1) {
    int result = RemoveTree(posix::ToNativePath(name));
    if (result != 0) {
      operation->fAnyOperationsAborted = 1;
      return result;
    }
  }
  return 0;
}

}  // namespace platform::native
