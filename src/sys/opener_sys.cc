#include "sys/opener_sys.h"

#include <utility>

#include "sys/stream_sys.h"

namespace velm::io {
namespace {

template <typename Stream>
Stream* OpenSys(Opener* opener, const std::string& path, platform::Access access) {
  platform::Descriptor descriptor(platform::calls.Open(path, access));
  int64_t size = 0;
  if (!descriptor || !platform::calls.SizeOf(descriptor.get(), size)) return nullptr;
  return new Stream(opener, path, StreamSys(std::move(descriptor), size));
}

}  // namespace

Input* OpenerSys::OpenInput(const std::string& path) {
  return OpenSys<InputSys>(this, path, platform::Access::kRead);
}

Output* OpenerSys::OpenOutput(const std::string& path) {
  return OpenSys<OutputSys>(this, path, platform::Access::kWrite);
}

}  // namespace velm::io
