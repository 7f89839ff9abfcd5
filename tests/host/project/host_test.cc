// Uses and extends the contracts from outside the library, with nothing but
// the installed headers and libvelmio.
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <velm/io/opener>
#include <velm/io/path>
#include <velm/io/stream>

namespace io = velm::io;

namespace {

int failures = 0;

void Check(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "FAILED: %s\n", what);
    ++failures;
  }
}

// An in-memory file and back-end of the host's own.
class MemoryInput : public io::Input {
 public:
  MemoryInput(io::Opener* opener, std::string path, const std::string* data)
      : opener_(opener), path_(std::move(path)), data_(data) {}
  ~MemoryInput() override { Close(); }
  int64_t Tell() override { return data_ ? position_ : 0; }
  int32_t Seek(int64_t offset, int32_t whence) override {
    if (!data_) return -1;
    int64_t base = whence == 0 ? 0 : whence == 1 ? position_ : GetSize();
    if (whence < 0 || whence > 2 || base + offset < 0 || base + offset > GetSize()) {
      return -1;
    }
    position_ = base + offset;
    return 0;
  }
  int64_t GetSize() const override {
    return data_ ? static_cast<int64_t>(data_->size()) : 0;
  }
  bool IsEOF() override { return !data_ || position_ >= GetSize(); }
  void Close() override { data_ = nullptr; }
  bool IsClosed() const override { return data_ == nullptr; }
  const std::string& GetPath() const override { return path_; }
  io::Opener* GetOpener() const override { return opener_; }
  bool GetDescriptor(int*, int64_t*) override { return false; }
  int64_t Read(void* buffer, size_t count) override {
    if (!data_) return 0;
    size_t n = std::min(count, static_cast<size_t>(GetSize() - position_));
    std::memcpy(buffer, data_->data() + position_, n);
    position_ += static_cast<int64_t>(n);
    return static_cast<int64_t>(n);
  }
  io::Input* Clone() override { return opener_->OpenInput(path_); }

 private:
  io::Opener* opener_;
  std::string path_;
  const std::string* data_;
  int64_t position_ = 0;
};

class MemoryOpener : public io::Opener {
 public:
  explicit MemoryOpener(std::string data) : data_(std::move(data)) {}
  io::OpenerType GetType() const override { return static_cast<io::OpenerType>(7); }
  io::Input* OpenInput(const std::string& path) override {
    return path == "blob" ? new MemoryInput(this, path, &data_) : nullptr;
  }
  io::Output* OpenOutput(const std::string&) override { return nullptr; }
  const std::string& GetName() const override { return name_; }
  const std::string& GetRoot() const override { return root_; }
  bool IsFile(const std::string& path) override { return path == "blob"; }
  bool IsDirectory(const std::string& path) override { return path.empty(); }
  bool StandardizePath(const std::string& path, std::string& out) override {
    return io::StandardizePathASCII(path, out);
  }
  int64_t GetModifiedTime(const std::string&) override { return -1; }
  bool CreateDirectories(const std::string&) override { return false; }
  bool RemoveFile(const std::string&) override { return false; }
  bool RemoveDirectory(const std::string&) override { return false; }
  void List(const std::string&, std::vector<std::string>& out) override {
    out.push_back("blob");
  }
  void ListFiles(const std::string& path, bool, std::vector<std::string>& out) override {
    List(path, out);
  }
  bool IsReady() const override { return false; }

 private:
  std::string data_;
  std::string name_ = "memory";
  std::string root_ = "memory://";
};

void HostBackEndWorksThroughTheContract() {
  MemoryOpener memory("host bytes");
  io::Opener& opener = memory;
  Check(!opener.IsReady() && opener.CheckReady(), "overridden and inherited IsReady");
  std::unique_ptr<io::Input> input(opener.OpenInput("blob"));
  Check(input != nullptr, "host OpenInput");
  char buffer[32] = {};
  Check(input->Read(buffer, 4) == 4 && std::memcmp(buffer, "host", 4) == 0, "host Read");
  std::unique_ptr<io::Input> clone(input->Clone());
  Check(clone && clone->Tell() == 0 && input->Tell() == 4, "host Clone");
  Check(input->Seek(0, 2) == 0 && input->IsEOF(), "host Seek to end");
}

void SysBackEndRoundTrip(const std::string& dir) {
  io::Opener* sys = io::GetOpener(io::OpenerTypeSys);
  Check(sys != nullptr && sys->GetName() == "sys", "GetOpener(sys)");
  if (sys == nullptr) return;
  const std::string path = dir + "/host.bin";
  std::unique_ptr<io::Output> output(sys->OpenOutput(path));
  Check(output != nullptr, "OpenOutput");
  if (!output) return;
  Check(output->Write("0123456789", 10) == 10, "Write");
  output.reset();
  std::unique_ptr<io::Input> input(sys->OpenInput(path));
  Check(input != nullptr && input->GetSize() == 10, "OpenInput size");
  if (!input) return;
  char buffer[16] = {};
  Check(input->Seek(6, 0) == 0 && input->Read(buffer, 16) == 4 &&
            std::memcmp(buffer, "6789", 4) == 0,
        "Seek and Read");
  std::unique_ptr<io::Input> clone(input->Clone());
  Check(clone && clone->Tell() == 0 && clone->Read(buffer, 3) == 3 &&
            std::memcmp(buffer, "012", 3) == 0,
        "Clone reads from 0");
}

}  // namespace

int main(int argc, char** argv) {
  std::string dir = argc > 1 ? argv[1] : ".";
  Check(io::IsBuiltinOpener(std::string("cfile")) && !io::IsBuiltinOpener(6),
        "IsBuiltinOpener");
  io::LogChannel = 3;
  Check(io::LogChannel == 3, "LogChannel is writable");
  std::string out;
  Check(io::StandardizePathASCII("a/../b", out) && out == "b", "StandardizePathASCII");
  io::UnloadZip(nullptr);
  Check(io::LoadZip(dir + "/missing.zip") == nullptr, "LoadZip of a missing file");
  HostBackEndWorksThroughTheContract();
  SysBackEndRoundTrip(dir);
  std::printf("host test: %s\n", failures == 0 ? "passed" : "FAILED");
  return failures == 0 ? 0 : 1;
}
