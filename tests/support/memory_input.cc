#include "support/memory_input.h"

#include <cstring>

namespace velm::test {

class MemoryInput final : public io::Input {
 public:
  MemoryInput(MemoryOpener* opener, std::string path,
              std::shared_ptr<const std::string> bytes)
      : opener_(opener), path_(std::move(path)), bytes_(std::move(bytes)) {
    ++opener_->live_streams_;
  }
  ~MemoryInput() override { --opener_->live_streams_; }

  int64_t Tell() override { return closed_ ? 0 : position_; }
  int32_t Seek(int64_t offset, int32_t whence) override {
    if (closed_) return -1;
    int64_t base = whence == 0 ? 0 : whence == 1 ? position_ : GetSize();
    if (whence < 0 || whence > 2) return -1;
    int64_t target = base + offset;
    if (target < 0) return -1;
    if (opener_->strict_seek && target > GetSize()) return -1;
    position_ = target;
    return 0;
  }
  int64_t GetSize() const override {
    return static_cast<int64_t>(bytes_->size());
  }
  bool IsEOF() override { return closed_ || position_ >= GetSize(); }
  void Close() override { closed_ = true; }
  bool IsClosed() const override { return closed_; }
  const std::string& GetPath() const override { return path_; }
  io::Opener* GetOpener() const override { return opener_; }
  bool GetDescriptor(int* fd, int64_t* offset) override {
    if (closed_ || opener_->descriptor < 0) return false;
    *fd = opener_->descriptor;
    *offset = opener_->descriptor_offset;
    return true;
  }
  int64_t Read(void* buffer, size_t count) override {
    if (closed_ || position_ >= GetSize()) return 0;
    size_t left = static_cast<size_t>(GetSize() - position_);
    if (count > left) count = left;
    if (count > 0) std::memcpy(buffer, bytes_->data() + position_, count);
    position_ += static_cast<int64_t>(count);
    return static_cast<int64_t>(count);
  }
  io::Input* Clone() override { return opener_->OpenInput(path_); }

 private:
  MemoryOpener* opener_;
  std::string path_;
  std::shared_ptr<const std::string> bytes_;
  int64_t position_ = 0;
  bool closed_ = false;
};

void MemoryOpener::Put(const std::string& path, std::string bytes) {
  files_[path] = std::make_shared<const std::string>(std::move(bytes));
}

io::OpenerType MemoryOpener::GetType() const {
  return static_cast<io::OpenerType>(100);
}

io::Input* MemoryOpener::OpenInput(const std::string& path) {
  auto found = files_.find(path);
  if (found == files_.end()) return nullptr;
  return new MemoryInput(this, path, found->second);
}

io::Output* MemoryOpener::OpenOutput(const std::string&) { return nullptr; }
const std::string& MemoryOpener::GetName() const { return name_; }
const std::string& MemoryOpener::GetRoot() const { return name_; }
bool MemoryOpener::IsFile(const std::string& path) {
  return files_.count(path) != 0;
}
bool MemoryOpener::IsDirectory(const std::string&) { return false; }
bool MemoryOpener::StandardizePath(const std::string& path, std::string& out) {
  // The one refusal, so that tests can reach LoadZip's path message.
  if (path.find('|') != std::string::npos) return false;
  out = path;
  return true;
}
int64_t MemoryOpener::GetModifiedTime(const std::string&) { return -1; }
bool MemoryOpener::CreateDirectories(const std::string&) { return false; }
bool MemoryOpener::RemoveFile(const std::string&) { return false; }
bool MemoryOpener::RemoveDirectory(const std::string&) { return false; }
void MemoryOpener::List(const std::string&, std::vector<std::string>&) {}
void MemoryOpener::ListFiles(const std::string&, bool,
                             std::vector<std::string>&) {}

ZipPtr LoadBytes(MemoryOpener& memory, const std::string& bytes,
                 const std::string& path) {
  memory.Put(path, bytes);
  return ZipPtr(io::LoadZip(path, &memory));
}

std::string ReadAll(io::Input* input) {
  std::string all;
  char buffer[4096];
  for (;;) {
    int64_t got = input->Read(buffer, sizeof buffer);
    if (got <= 0) break;
    all.append(buffer, static_cast<size_t>(got));
    if (got < static_cast<int64_t>(sizeof buffer)) break;
  }
  return all;
}

}  // namespace velm::test
