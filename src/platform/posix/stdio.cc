#include <sys/stat.h>
#include <sys/types.h>

#include <cstdio>
#include <string>

#include "platform/posix/handle.h"

namespace platform {

std::FILE* _wfopen(const WCHAR* path, const WCHAR* mode) {
  // "e": descriptors of the library are not inherited by child processes, as
  // on Windows.
  std::string flags = posix::ToUtf8(mode) + "e";
  std::FILE* file = std::fopen(posix::ToNativePath(path).c_str(), flags.c_str());
  if (file == nullptr) return nullptr;
  // fopen reads a directory on Linux; Windows cannot open one.
  struct stat status;
  if (::fstat(::fileno(file), &status) != 0 || S_ISDIR(status.st_mode)) {
    std::fclose(file);
    return nullptr;
  }
  return file;
}

int _fileno(std::FILE* file) { return ::fileno(file); }

int _fseeki64(std::FILE* file, std::int64_t offset, int whence) {
  return ::fseeko(file, static_cast<off_t>(offset), whence);
}

std::int64_t _ftelli64(std::FILE* file) {
  return static_cast<std::int64_t>(::ftello(file));
}

}  // namespace platform
