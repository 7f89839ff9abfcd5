#include "os/opener_sys.h"

#include <memory>
#include <utility>

#include "os/input_sys.h"
#include "os/open_descriptor.h"
#include "os/output_sys.h"
#include "platform/platform.h"

namespace velm::io {

OpenerSys::OpenerSys() : name("sys") {}

OpenerSys::~OpenerSys() = default;

OpenerType OpenerSys::GetType() const { return OpenerTypeSys; }

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

const std::string& OpenerSys::GetName() const { return name; }

}  // namespace velm::io
