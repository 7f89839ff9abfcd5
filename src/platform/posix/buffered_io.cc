#include <fcntl.h>

#include <cstdio>

#include "platform/descriptor.h"
#include "platform/native.h"
#include "platform/posix/posix.h"

namespace velm::platform::native {

namespace {

std::FILE* Buffered(Descriptor fd, const char* mode) {
  if (!fd) return nullptr;
  std::FILE* file = ::fdopen(fd.get(), mode);
  // From here the FILE owns the descriptor.
  if (file != nullptr) fd.release();
  return file;
}

}  // namespace

std::FILE* OpenBuffered(const std::string& path, Access access) {
  std::string native;
  if (!posix::ToNative(path, native)) return nullptr;
  const bool read = access == Access::kRead;
  return Buffered(
      Descriptor(posix::OpenFile(native, read ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC)),
      read ? "rb" : "wb");
}

std::FILE* ReopenBuffered(std::FILE* file) {
  return Buffered(Descriptor(Reopen(::fileno(file))), "rb");
}

int SeekBuffered(std::FILE* file, std::int64_t offset, int whence) {
  return ::fseeko(file, static_cast<off_t>(offset), whence);
}

std::int64_t TellBuffered(std::FILE* file) { return static_cast<std::int64_t>(::ftello(file)); }

int BufferedDescriptor(std::FILE* file) { return ::fileno(file); }

}  // namespace velm::platform::native
