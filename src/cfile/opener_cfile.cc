#include "cfile/opener_cfile.h"

#include "cfile/stream_cfile.h"

namespace velm::io {

Input* OpenerCFile::OpenInput(const std::string& path) {
  return CFileOver<InputCFile>(
      this, path, BufferedFile(platform::calls.OpenBuffered(path, platform::Access::kRead)));
}

Output* OpenerCFile::OpenOutput(const std::string& path) {
  return CFileOver<OutputCFile>(
      this, path, BufferedFile(platform::calls.OpenBuffered(path, platform::Access::kWrite)));
}

}  // namespace velm::io
