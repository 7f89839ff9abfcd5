#include "cfile/opener_cfile.h"

#include <utility>

#include "cfile/stream_cfile.h"

namespace velm::io {
namespace {

template <typename Stream>
Stream* OpenCFile(Opener* opener, const std::string& path, platform::Access access) {
  BufferedFile file(platform::calls.OpenBuffered(path, access));
  if (!file) return nullptr;
  return new Stream(opener, path, StreamCFile(std::move(file)));
}

}  // namespace

Input* OpenerCFile::OpenInput(const std::string& path) {
  return OpenCFile<InputCFile>(this, path, platform::Access::kRead);
}

Output* OpenerCFile::OpenOutput(const std::string& path) {
  return OpenCFile<OutputCFile>(this, path, platform::Access::kWrite);
}

}  // namespace velm::io
