#include "archive_chain.h"

#include <velm/io/path>

#include "central_directory.h"
#include "messages.h"

namespace tool {

namespace io = velm::io;

namespace {

const char kNestSeparator[] = "::";

// An archive of no members: an end record and nothing before it.
class EmptyArchive : public io::Opener {
 public:
  explicit EmptyArchive(const std::string& path) : root_(path + "://") {}
  io::OpenerType GetType() const override { return io::OpenerTypeZip; }
  io::Input* OpenInput(const std::string&) override { return nullptr; }
  io::Output* OpenOutput(const std::string&) override { return nullptr; }
  const std::string& GetName() const override { return name_; }
  const std::string& GetRoot() const override { return root_; }
  bool IsFile(const std::string& path) override { return path.empty(); }
  bool IsDirectory(const std::string& path) override { return path.empty(); }
  bool StandardizePath(const std::string& path, std::string& out) override {
    return io::StandardizePathASCII(path, out);
  }
  int64_t GetModifiedTime(const std::string&) override { return -1; }
  bool CreateDirectories(const std::string&) override { return false; }
  bool RemoveFile(const std::string&) override { return false; }
  bool RemoveDirectory(const std::string&) override { return false; }
  void List(const std::string&, std::vector<std::string>&) override {}
  void ListFiles(const std::string&, bool, std::vector<std::string>&) override {}

 private:
  const std::string name_ = "zip";
  const std::string root_;
};

bool IsEmptyArchive(io::Opener& container, const std::string& path) {
  std::unique_ptr<io::Input> file(container.OpenInput(path));
  CentralDirectory directory;
  std::string error;
  return file && ReadCentralDirectory(*file, directory, error) && directory.entries.empty() &&
         directory.end_record == 0;
}

}  // namespace

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
    io::Opener* level = LoadLevel(name.substr(0, end), nullptr);
    if (level == nullptr) return false;
    container_ = level;
    start = end + sizeof kNestSeparator - 1;
  }
}

io::Opener* ArchiveChain::Load() { return LoadLevel(name_, &walk_); }

bool ArchiveChain::ReadsWhole() {
  if (empty_) return true;
  std::unique_ptr<io::Input> file(container_->OpenInput(path_));
  if (file && WalkReadsWhole(*file, walk_)) return true;
  Error(
      "%s: read only partly: the library's walk of local headers stops at offset %llu of "
      "%lld, before the central directory; members behind it are not seen",
      name_.c_str(), static_cast<unsigned long long>(walk_.end),
      static_cast<long long>(file ? file->GetSize() : -1));
  return false;
}

io::Opener* ArchiveChain::LoadLevel(const std::string& shown_name, LibraryWalk* walk) {
  if (container_->IsDirectory(path_)) {
    Error("%s: is a directory, not an archive", shown_name.c_str());
    return nullptr;
  }
  if (!container_->IsFile(path_)) {
    Error("%s: no such file", shown_name.c_str());
    return nullptr;
  }
  int errors_before = LibraryErrorCount();
  io::Opener* archive =
      walk ? LoadWatched(*container_, path_, *walk) : io::LoadZip(path_, container_);
  if (archive == nullptr && walk && IsEmptyArchive(*container_, path_)) {
    empty_.reset(new EmptyArchive(path_));
    return empty_.get();
  }
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
