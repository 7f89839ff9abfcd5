#include <fcntl.h>

#include <cstdio>

#include "platform/descriptor.h"
#include "platform/native.h"
#include "platform/posix/posix.h"

namespace velm::platform::native {

std::FILE* OpenBuffered(const std::string& path, Access access) {
  std::string native;
  if (!posix::ToNative(path, native)) return nullptr;
  const bool read = access == Access::kRead;
  Descriptor fd(posix::OpenFile(native, read ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC));
  if (!fd) return nullptr;
  std::FILE* file = ::fdopen(fd.get(), read ? "rb" : "wb");
  // From here the FILE owns the descriptor.
  if (file != nullptr) fd.release();
  return file;
}

std::size_t ReadBuffered(std::FILE* file, void* buffer, std::size_t count) {
  return std::fread(buffer, 1, count, file);
}

std::size_t WriteBuffered(std::FILE* file, const void* buffer, std::size_t count) {
  return std::fwrite(buffer, 1, count, file);
}

int SeekBuffered(std::FILE* file, std::int64_t offset, int whence) {
  return ::fseeko(file, static_cast<off_t>(offset), whence);
}

std::int64_t TellBuffered(std::FILE* file) { return static_cast<std::int64_t>(::ftello(file)); }

int BufferedDescriptor(std::FILE* file) { return ::fileno(file); }

bool CloseBuffered(std::FILE* file) { return std::fclose(file) == 0; }

}  // namespace velm::platform::native
