#include "platform/posix/handle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

namespace platform {
namespace posix {

Handle::~Handle() {
  if (fd >= 0) ::close(fd);
  if (directory != nullptr) ::closedir(directory);
}

int OpenFile(const WCHAR* path, int flags) {
  // The file is emptied only once it is known not to be mapped.
  int fd = ::open(ToNativePath(path).c_str(), (flags & ~O_TRUNC) | O_CLOEXEC, 0666);
  if (fd < 0) return -1;
  struct stat status;
  int error = ::fstat(fd, &status) != 0 ? errno
              : S_ISDIR(status.st_mode) ? EACCES
                                        : 0;
  if (error == 0 && (flags & O_TRUNC) != 0 && S_ISREG(status.st_mode)) {
    error = TruncateUnlessMapped(fd, status);
  }
  if (error == 0) return fd;
  ::close(fd);
  errno = error;
  return -1;
}

}  // namespace posix

namespace native {

using posix::FromHandle;
using posix::Handle;

HANDLE CreateFileW(const WCHAR* path, DWORD, DWORD, void*, DWORD, DWORD,
                   HANDLE) {
  // Only read access to an existing file is ever asked for. Share modes have
  // no POSIX meaning and are not emulated.
  // Made first, so that the descriptor has an owner from the start.
  auto file = std::make_unique<Handle>(Handle::Kind::kFile);
  file->fd = posix::OpenFile(path, O_RDONLY);
  if (file->fd < 0) return INVALID_HANDLE_VALUE;
  return file.release();
}

DWORD GetFileSize(HANDLE file, DWORD* size_high) {
  struct stat status;
  if (::fstat(FromHandle(file)->fd, &status) != 0) return 0xFFFFFFFFu;
  auto size = static_cast<std::uint64_t>(status.st_size);
  if (size_high != nullptr) *size_high = static_cast<DWORD>(size >> 32);
  return static_cast<DWORD>(size);
}

BOOL GetFileTime(HANDLE file, FILETIME* creation, FILETIME* last_access,
                 FILETIME* last_write) {
  struct stat status;
  if (::fstat(FromHandle(file)->fd, &status) != 0) return 0;
  auto to_filetime = [](const struct timespec& time, FILETIME* out) {
    if (out == nullptr) return;
    std::uint64_t ticks = static_cast<std::uint64_t>(
        (static_cast<std::int64_t>(time.tv_sec) + kSecondsFrom1601To1970) *
            kTicksPerSecond +
        time.tv_nsec / 100);
    out->dwLowDateTime = static_cast<DWORD>(ticks);
    out->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
  };
  to_filetime(status.st_ctim, creation);
  to_filetime(status.st_atim, last_access);
  to_filetime(status.st_mtim, last_write);
  return 1;
}

BOOL CloseHandle(HANDLE handle) {
  if (handle == nullptr || handle == INVALID_HANDLE_VALUE) return 0;
  Handle* object = FromHandle(handle);
  if (object->kind == Handle::Kind::kSearch) return 0;
  int result = ::close(object->fd);
  object->fd = -1;
  delete object;
  return result == 0 ? 1 : 0;
}

}  // namespace native
}  // namespace platform
