#include "os/opener_sys.h"

#include <memory>
#include <utility>

#include "os/open_descriptor.h"
#include "platform/platform.h"

namespace velm::io {

Input* OpenerSys::OpenInput(const std::string& path) {
  int fd = OpenDescriptor(path, _O_BINARY | _O_RANDOM | _O_RDONLY, _S_IREAD);
  std::unique_ptr<StreamSys> stream = CreateStreamSys(this, fd, path);
  if (stream == nullptr) return nullptr;
  return new InputSys(std::move(stream));
}

Output* OpenerSys::OpenOutput(const std::string& path) {
  int fd = OpenDescriptor(
      path, _O_BINARY | _O_TRUNC | _O_CREAT | _O_RANDOM | _O_WRONLY, _S_IWRITE);
  std::unique_ptr<StreamSys> stream = CreateStreamSys(this, fd, path);
  if (stream == nullptr) return nullptr;
  return new OutputSys(std::move(stream));
}

}  // namespace velm::io
