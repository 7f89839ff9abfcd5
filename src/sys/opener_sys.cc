#include "sys/opener_sys.h"

#include "sys/stream_sys.h"

namespace velm::io {
Input* OpenerSys::OpenInput(const std::string& path) {
  return StreamOver<InputSys>(
      this, path, platform::Descriptor(platform::calls.Open(path, platform::Access::kRead)));
}

Output* OpenerSys::OpenOutput(const std::string& path) {
  return StreamOver<OutputSys>(
      this, path, platform::Descriptor(platform::calls.Open(path, platform::Access::kWrite)));
}

}  // namespace velm::io
