#include "cfile/opener_cfile.h"

#include <memory>
#include <utility>

#include "cfile/input_cfile.h"
#include "cfile/output_cfile.h"
#include "cfile/stream_cfile.h"

namespace velm::io {

OpenerCFile::OpenerCFile() : name("cfile") {}

OpenerCFile::~OpenerCFile() = default;

OpenerType OpenerCFile::GetType() const { return OpenerTypeCFile; }

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

const std::string& OpenerCFile::GetName() const { return name; }

}  // namespace velm::io
