// A host program: the installed headers and libvelmio alone. The build puts
// <windows.h> before or after the headers; RemoveDirectory works either way.
#if defined(HOST_WINDOWS_H_FIRST)
#include <windows.h>
#endif
#include <velm/io/opener>
#include <velm/io/path>
#include <velm/io/version>
#if defined(HOST_WINDOWS_H_AFTER)
#include <windows.h>
#endif
#include <cstdio>
#include <cstring>
#include <memory>

namespace io = velm::io;
static_assert(__cplusplus >= 201703L, "C++17 comes with the package");
#define HOST_TEXT(x) #x
#define HOST_NUMBER(x) HOST_TEXT(x)
static const char kHeaderVersion[] = HOST_NUMBER(VELMIO_VERSION_MAJOR) "."
    HOST_NUMBER(VELMIO_VERSION_MINOR) "." HOST_NUMBER(VELMIO_VERSION_PATCH);
static int failures = 0;
#define CHECK(ok) (ok) ? void() : (std::fprintf(stderr, "FAILED: %s\n", #ok), void(++failures))

// A back-end of the host's own, serving "mem.zip" from memory.
class MemoryInput : public io::Input {
 public:
  MemoryInput(io::Opener* opener, const std::string& data) : opener_(opener), data_(data) {}
  int64_t Tell() override { return at_; }
  int32_t Seek(int64_t offset, int32_t whence) override {
    int64_t to = offset + (whence == 1 ? at_ : whence == 2 ? GetSize() : 0);
    return whence < 0 || whence > 2 || to < 0 || to > GetSize() ? -1 : (at_ = to, 0);
  }
  int64_t GetSize() const override { return static_cast<int64_t>(data_.size()); }
  bool IsEOF() override { return at_ >= GetSize(); }
  void Close() override {}
  bool IsClosed() const override { return false; }
  const std::string& GetPath() const override { return path_; }
  io::Opener* GetOpener() const override { return opener_; }
  bool GetDescriptor(int*, int64_t*) override { return false; }
  int64_t Read(void* buffer, size_t count) override {
    size_t n = std::min(count, static_cast<size_t>(GetSize() - at_));
    std::memcpy(buffer, data_.data() + at_, n);
    return at_ += static_cast<int64_t>(n), static_cast<int64_t>(n);
  }
  io::Input* Clone() override { return opener_->OpenInput(path_); }

 private:
  io::Opener* opener_;
  const std::string& data_;
  std::string path_ = "mem.zip";
  int64_t at_ = 0;
};

#pragma push_macro("RemoveDirectory")  // as a host that overrides it must
#undef RemoveDirectory
class MemoryOpener : public io::Opener {
 public:
  explicit MemoryOpener(std::string data) : data_(std::move(data)) {}
  io::OpenerType GetType() const override { return static_cast<io::OpenerType>(9); }
  io::Input* OpenInput(const std::string& path) override {
    return IsFile(path) ? new MemoryInput(this, data_) : nullptr;
  }
  io::Output* OpenOutput(const std::string&) override { return nullptr; }
  const std::string& GetName() const override { return data_; }
  const std::string& GetRoot() const override { return data_; }
  bool IsFile(const std::string& path) override { return path == "mem.zip"; }
  bool IsDirectory(const std::string&) override { return false; }
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
  std::string data_;
};
#pragma pop_macro("RemoveDirectory")

int main(int argc, char** argv) {
  CHECK(argc == 2 && std::strcmp(kHeaderVersion, HOST_PACKAGE_VERSION) == 0);
  io::LogChannel = 3;
  // One stored member, "a.txt" holding "hi", read through the host's back-end.
  static const char kZip[] = "PK\3\4\12\0\0\0\0\0\0\0\0\0\0\0\0\0\2\0\0\0\2\0\0\0\5\0\0\0a.txthi";
  MemoryOpener memory(std::string(kZip, sizeof kZip - 1));
  CHECK(memory.IsReady() && memory.CheckReady());
  io::Opener* zip = io::LoadZip("mem.zip", &memory);
  std::unique_ptr<io::Input> member(zip ? zip->OpenInput("a.txt") : nullptr);
  char buffer[16] = {};
  CHECK(member && member->Read(buffer, 16) == 2 && std::strcmp(buffer, "hi") == 0);
  member.reset();
  io::UnloadZip(zip);

  io::Opener* sys = io::GetOpener(io::OpenerTypeSys);
  std::string dir;
  CHECK(sys->StandardizePath(std::string(argv[argc - 1]) + "/made", dir));
  CHECK(sys->CreateDirectories(dir));
  std::unique_ptr<io::Output> output(sys->OpenOutput(dir + "/f.bin"));
  CHECK(output && output->Write("0123456789", 10) == 10);
  output.reset();
  std::unique_ptr<io::Input> input(sys->OpenInput(dir + "/f.bin"));
  CHECK(input && input->Seek(6, 0) == 0 && input->Read(buffer, 16) == 4 &&
        std::memcmp(buffer, "6789", 4) == 0);
  input.reset();
  CHECK(sys->RemoveDirectory(dir) && !sys->IsDirectory(dir));
  std::printf("%s: %s\n", argv[0], failures == 0 ? "passed" : "FAILED");
  return failures == 0 ? 0 : 1;
}
