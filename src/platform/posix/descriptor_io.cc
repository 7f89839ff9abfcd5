#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>

#include "platform/descriptor.h"
#include "platform/native.h"
#include "platform/posix/posix.h"

namespace velm::platform {

namespace posix {

bool ToNative(const std::string& path, std::string& out) {
  if (path.find('\0') != std::string::npos) return false;
  out = path;
  std::replace(out.begin(), out.end(), '\\', '/');
  return true;
}

int OpenFile(const std::string& native, int flags) {
  // The file is emptied only once it is known not to be mapped. Owned from
  // the start: looking at the mapped files may allocate.
  Descriptor fd(::open(native.c_str(), (flags & ~O_TRUNC) | O_CLOEXEC, 0666));
  if (!fd) return -1;
  struct stat status;
  int error = ::fstat(fd.get(), &status) != 0 ? errno : S_ISDIR(status.st_mode) ? EACCES : 0;
  if (error == 0 && (flags & O_TRUNC) != 0 && S_ISREG(status.st_mode)) {
    error = TruncateUnlessMapped(fd.get(), status);
  }
  if (error == 0) return fd.release();
  fd.reset();
  errno = error;
  return -1;
}

}  // namespace posix

namespace native {
namespace {

// A signal is retried: the Windows calls are never interrupted by one.
template <typename Call>
std::int64_t Transfer(Call call) {
  ssize_t result;
  do {
    result = call();
  } while (result < 0 && errno == EINTR);
  return static_cast<std::int64_t>(result);
}

std::size_t Cut(std::size_t count) { return std::min(count, kMaxTransferBytes); }

int Advised(int fd) {
  // Only a hint to the kernel; a refusal changes nothing that is observable.
  if (fd >= 0) ::posix_fadvise(fd, 0, 0, POSIX_FADV_RANDOM);
  return fd;
}

}  // namespace

int Open(const std::string& path, Access access) {
  std::string native;
  if (!posix::ToNative(path, native)) return -1;
  // A new file is readable and writable before the umask, as on Windows.
  return Advised(
      posix::OpenFile(native, access == Access::kRead ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC));
}

int Reopen(int descriptor) {
  // The process's own link to the open file leads to that file even once its
  // name is gone or names another one; dup() would share the position.
  if (descriptor < 0) return -1;
  return Advised(posix::OpenFile("/proc/self/fd/" + std::to_string(descriptor), O_RDONLY));
}

bool SizeOf(int descriptor, std::int64_t& size) {
  struct stat status;
  if (::fstat(descriptor, &status) != 0) return false;
  size = static_cast<std::int64_t>(status.st_size);
  return true;
}

std::int64_t Seek(int descriptor, std::int64_t offset, int whence) {
  return static_cast<std::int64_t>(::lseek(descriptor, static_cast<off_t>(offset), whence));
}

std::int64_t Read(int descriptor, void* buffer, std::size_t count) {
  return Transfer([&] { return ::read(descriptor, buffer, Cut(count)); });
}

std::int64_t ReadAt(int descriptor, void* buffer, std::size_t count, std::int64_t offset) {
  if (offset < 0) return -1;
  return Transfer(
      [&] { return ::pread(descriptor, buffer, Cut(count), static_cast<off_t>(offset)); });
}

std::int64_t Write(int descriptor, const void* buffer, std::size_t count) {
  return Transfer([&] { return ::write(descriptor, buffer, Cut(count)); });
}

bool Close(int descriptor) { return ::close(descriptor) == 0; }

}  // namespace native
}  // namespace velm::platform
