#include "os/open_descriptor.h"

#include "os/wide_path.h"
#include "platform/platform.h"

namespace velm::io {

int OpenDescriptor(const std::string& path, int oflag, int pmode) {
  WidePath wide(path.c_str());
  int fd = -1;
  if (platform::_wsopen_s(&fd, wide.text, oflag, _SH_DENYNO, pmode) != 0) {
    return -1;
  }
  return fd;
}

std::unique_ptr<StreamSys> CreateStreamSys(Opener* opener, int fd,
                                           const std::string& path) {
  if (fd == -1) return nullptr;
  std::unique_ptr<StreamSys> stream;
  try {
    stream = std::make_unique<StreamSys>();
  } catch (...) {
    platform::_close(fd);
    throw;
  }
  // From here the stream owns fd and closes it on every way out.
  stream->descriptor = fd;
  platform::Stat64 status;
  if (platform::_fstat64(fd, &status) != 0) return nullptr;
  stream->path = path;
  stream->opener = opener;
  stream->size = status.st_size;
  return stream;
}

}  // namespace velm::io
