#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>

#include "platform/posix/handle.h"

namespace platform::native {
namespace {

// Windows access values beside _O_RDONLY and _O_WRONLY.
constexpr int kAccessMask = 0x0003;
constexpr int kReadWrite = 0x0002;

int ToOpenFlags(int oflag) {
  int flags = 0;
  switch (oflag & kAccessMask) {
    case _O_WRONLY:
      flags |= O_WRONLY;
      break;
    case kReadWrite:
      flags |= O_RDWR;
      break;
    default:
      flags |= O_RDONLY;
      break;
  }
  if ((oflag & _O_CREAT) != 0) flags |= O_CREAT;
  if ((oflag & _O_TRUNC) != 0) flags |= O_TRUNC;
  return flags;
}

// Counts above INT_MAX are refused as the Windows CRT refuses them: the
// signed 32-bit result could not report them. A signal is retried, since the
// Windows calls are never interrupted by one.
template <typename Call>
int Transfer(unsigned int count, Call call) {
  if (count > static_cast<unsigned int>(INT_MAX)) {
    errno = EINVAL;
    return -1;
  }
  ssize_t result;
  do {
    result = call();
  } while (result < 0 && errno == EINTR);
  return static_cast<int>(result);
}

}  // namespace

int _wsopen_s(int* descriptor, const WCHAR* path, int oflag, int, int) {
  if (descriptor == nullptr) return EINVAL;
  *descriptor = -1;
  if (path == nullptr) return EINVAL;
  // Windows leaves a new file readable and writable whatever pmode says; the
  // umask then applies as it does to every POSIX program.
  int fd = posix::OpenFile(path, ToOpenFlags(oflag));
  if (fd < 0) return errno;
  if ((oflag & _O_RANDOM) != 0) {
    // Only a hint to the kernel; a refusal changes nothing that is observable.
    ::posix_fadvise(fd, 0, 0, POSIX_FADV_RANDOM);
  }
  *descriptor = fd;
  return 0;
}

int _fstat64(int descriptor, Stat64* status) {
  struct stat result;
  if (::fstat(descriptor, &result) != 0) return -1;
  status->st_size = static_cast<std::int64_t>(result.st_size);
  status->st_mode = static_cast<unsigned int>(result.st_mode);
  return 0;
}

std::int64_t _lseeki64(int descriptor, std::int64_t offset, int whence) {
  // Linux would take SEEK_DATA and SEEK_HOLE here; Windows knows only three.
  if (whence != SEEK_SET && whence != SEEK_CUR && whence != SEEK_END) {
    errno = EINVAL;
    return -1;
  }
  return static_cast<std::int64_t>(
      ::lseek(descriptor, static_cast<off_t>(offset), whence));
}

int _read(int descriptor, void* buffer, unsigned int count) {
  return Transfer(count, [&] { return ::read(descriptor, buffer, count); });
}

int ReadAt(int descriptor, void* buffer, unsigned int count,
           std::int64_t offset) {
  return Transfer(count, [&] {
    return ::pread(descriptor, buffer, count, static_cast<off_t>(offset));
  });
}

int _write(int descriptor, const void* buffer, unsigned int count) {
  return Transfer(count, [&] { return ::write(descriptor, buffer, count); });
}

int _close(int descriptor) { return ::close(descriptor) == 0 ? 0 : -1; }

}  // namespace platform::native
