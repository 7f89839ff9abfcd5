#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "platform/posix/handle.h"

namespace platform::native {

std::FILE* _wfopen(const WCHAR* path, const WCHAR* mode) {
  // Only "rb" and "wb" are asked for.
  const std::string flags = posix::ToUtf8(mode);
  const bool write = !flags.empty() && flags[0] == 'w';
  int fd = posix::OpenFile(path, write ? O_WRONLY | O_CREAT | O_TRUNC : O_RDONLY);
  if (fd < 0) return nullptr;
  std::FILE* file = ::fdopen(fd, flags.c_str());
  if (file == nullptr) ::close(fd);
  return file;
}

int _fileno(std::FILE* file) { return ::fileno(file); }

int _fseeki64(std::FILE* file, std::int64_t offset, int whence) {
  return ::fseeko(file, static_cast<off_t>(offset), whence);
}

std::int64_t _ftelli64(std::FILE* file) {
  return static_cast<std::int64_t>(::ftello(file));
}

}  // namespace platform::native
