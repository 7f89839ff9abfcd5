#ifndef VELMIO_TESTS_SUPPORT_MEMORY_INPUT_H_
#define VELMIO_TESTS_SUPPORT_MEMORY_INPUT_H_

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <velm/io/opener>

namespace velm::test {

// A back-end over files held in memory, for archives built by a test. Paths
// are taken as given. Counts its live streams so that tests see leaks.
class MemoryOpener : public io::Opener {
 public:
  void Put(const std::string& path, std::string bytes);
  void Remove(const std::string& path) { files_.erase(path); }

  // Like the mapped back-end: seeks past the end are refused. Off, they are
  // allowed as in the descriptor and stdio back-ends.
  bool strict_seek = false;
  // GetDescriptor of every stream gives this descriptor at offset
  // descriptor_offset; -1 gives false.
  int descriptor = -1;
  int64_t descriptor_offset = 0;

  int live_streams() const { return live_streams_; }

  io::OpenerType GetType() const override;
  io::Input* OpenInput(const std::string& path) override;
  io::Output* OpenOutput(const std::string& path) override;
  const std::string& GetName() const override;
  const std::string& GetRoot() const override;
  bool IsFile(const std::string& path) override;
  bool IsDirectory(const std::string& path) override;
  bool StandardizePath(const std::string& path, std::string& out) override;
  int64_t GetModifiedTime(const std::string& path) override;
  bool CreateDirectories(const std::string& path) override;
  bool RemoveFile(const std::string& path) override;
  bool RemoveDirectory(const std::string& path) override;
  void List(const std::string& path, std::vector<std::string>& out) override;
  void ListFiles(const std::string& path, bool recursive,
                 std::vector<std::string>& out) override;

 private:
  friend class MemoryInput;
  std::map<std::string, std::shared_ptr<const std::string>> files_;
  std::string name_ = "memory";
  int live_streams_ = 0;
};

struct ZipUnloader {
  void operator()(io::Opener* opener) const { io::UnloadZip(opener); }
};
using ZipPtr = std::unique_ptr<io::Opener, ZipUnloader>;

// Puts bytes into memory under path and loads them as an archive.
ZipPtr LoadBytes(MemoryOpener& memory, const std::string& bytes,
                 const std::string& path = "archive.zip");

// Everything from the position to the first short read.
std::string ReadAll(io::Input* input);

}  // namespace velm::test

#endif  // VELMIO_TESTS_SUPPORT_MEMORY_INPUT_H_
