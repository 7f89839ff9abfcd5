#include "cfile/opener_cfile.h"

#include <memory>
#include <utility>

#include "cfile/stream_cfile.h"

namespace velm::io {

Input* OpenerCFile::OpenInput(const std::string& path) {
  std::unique_ptr<StreamCFile> stream =
      CreateStreamCFile(this, OpenStdioFile(path, false), path);
  if (stream == nullptr) return nullptr;
  return new InputCFile(std::move(stream));
}

Output* OpenerCFile::OpenOutput(const std::string& path) {
  std::unique_ptr<StreamCFile> stream =
      CreateStreamCFile(this, OpenStdioFile(path, true), path);
  if (stream == nullptr) return nullptr;
  return new OutputCFile(std::move(stream));
}

}  // namespace velm::io
