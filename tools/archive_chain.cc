#include "archive_chain.h"

#include "messages.h"

namespace tool {

namespace io = velm::io;

namespace {
const char kNestSeparator[] = "::";
}

ArchiveChain::~ArchiveChain() {
  while (!loaded_.empty()) {
    io::UnloadZip(loaded_.back());
    loaded_.pop_back();
  }
}

bool ArchiveChain::OpenContainer(const std::string& name, io::OpenerType via) {
  name_ = name;
  base_ = container_ = io::GetOpener(via);
  std::string::size_type start = 0;
  for (;;) {
    std::string::size_type end = name.find(kNestSeparator, start);
    path_ = name.substr(start, end == std::string::npos ? end : end - start);
    if (end == std::string::npos) return true;
    io::Opener* level = LoadLevel(name.substr(0, end));
    if (level == nullptr) return false;
    container_ = level;
    start = end + sizeof kNestSeparator - 1;
  }
}

io::Opener* ArchiveChain::Load() { return LoadLevel(name_); }

io::Opener* ArchiveChain::LoadLevel(const std::string& shown_name) {
  if (!container_->IsFile(path_)) {
    Error("%s: no such file", shown_name.c_str());
    return nullptr;
  }
  int errors_before = LibraryErrorCount();
  io::Opener* archive = io::LoadZip(path_, container_);
  if (archive == nullptr) {
    // The library has said why, unless the file simply holds no record.
    if (LibraryErrorCount() == errors_before) {
      Error("%s: not a zip archive (no local header at its start)", shown_name.c_str());
    }
    return nullptr;
  }
  loaded_.push_back(archive);
  return archive;
}

}  // namespace tool
