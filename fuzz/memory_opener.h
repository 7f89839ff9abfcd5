// A host back-end that serves one archive held in memory under one name, so
// that the archive harness reaches LoadZip the way a host's own files would,
// with no file system involved.
#ifndef VELMIO_FUZZ_MEMORY_OPENER_H_
#define VELMIO_FUZZ_MEMORY_OPENER_H_

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <velm/io/opener>
#include <velm/io/path>

namespace fuzz {

using Bytes = std::shared_ptr<const std::string>;

// Seeking past the end is allowed or refused per opener: the descriptor and
// stdio back-ends allow it, the mapped one refuses it, and the archive walk
// ends differently on each. GetSize gives claimed_size where that is not
// negative, as a stream that cannot know its size might.
class MemoryInput final : public velm::io::Input {
 public:
  MemoryInput(Bytes bytes, velm::io::Opener* opener, const std::string& path, bool seek_past_end,
              int64_t claimed_size = -1)
      : bytes_(std::move(bytes)),
        opener_(opener),
        path_(path),
        seek_past_end_(seek_past_end),
        claimed_size_(claimed_size) {}

  int64_t Tell() override { return closed_ ? 0 : position_; }
  int32_t Seek(int64_t offset, int32_t whence) override {
    if (closed_ || whence < 0 || whence > 2) return -1;
    const int64_t base = whence == 0 ? 0 : whence == 1 ? position_ : Length();
    // Bounds keep base + offset inside int64_t.
    if (offset < -base || offset > (int64_t{1} << 40)) return -1;
    // A stream that does not know its size cannot know where it ends.
    if (!seek_past_end_ && claimed_size_ < 0 && base + offset > Length()) return -1;
    position_ = base + offset;
    return 0;
  }
  int64_t GetSize() const override { return claimed_size_ >= 0 ? claimed_size_ : Length(); }
  bool IsEOF() override { return closed_ || position_ >= Length(); }
  void Close() override { closed_ = true; }
  bool IsClosed() const override { return closed_; }
  const std::string& GetPath() const override { return path_; }
  velm::io::Opener* GetOpener() const override { return opener_; }
  bool GetDescriptor(int*, int64_t*) override { return false; }
  int64_t Read(void* buffer, size_t count) override {
    if (closed_ || position_ >= Length()) return 0;
    const size_t left = static_cast<size_t>(Length() - position_);
    if (count > left) count = left;
    std::memcpy(buffer, bytes_->data() + position_, count);
    position_ += static_cast<int64_t>(count);
    return static_cast<int64_t>(count);
  }
  velm::io::Input* Clone() override {
    if (closed_) return nullptr;
    return new MemoryInput(bytes_, opener_, path_, seek_past_end_, claimed_size_);
  }

 private:
  int64_t Length() const { return static_cast<int64_t>(bytes_->size()); }

  Bytes bytes_;
  velm::io::Opener* opener_;
  std::string path_;
  bool seek_past_end_;
  int64_t claimed_size_;
  bool closed_ = false;
  int64_t position_ = 0;
};

// Knows one file, `name`, at its root. Paths are logical, as in an archive.
class MemoryOpener final : public velm::io::Opener {
 public:
  MemoryOpener(std::string name, std::string bytes, bool seek_past_end, int64_t claimed_size = -1)
      : name_(std::move(name)),
        bytes_(std::make_shared<const std::string>(std::move(bytes))),
        seek_past_end_(seek_past_end),
        claimed_size_(claimed_size) {}

  // Numbers from 6 on are free for a host's own back-ends.
  velm::io::OpenerType GetType() const override { return static_cast<velm::io::OpenerType>(6); }
  velm::io::Input* OpenInput(const std::string& path) override {
    if (!IsFile(path)) return nullptr;
    return new MemoryInput(bytes_, this, name_, seek_past_end_, claimed_size_);
  }
  velm::io::Output* OpenOutput(const std::string&) override { return nullptr; }
  const std::string& GetName() const override { return kind_; }
  const std::string& GetRoot() const override { return root_; }
  bool IsFile(const std::string& path) override {
    std::string standard;
    return StandardizePath(path, standard) && standard == name_;
  }
  bool IsDirectory(const std::string& path) override {
    std::string standard;
    return StandardizePath(path, standard) && standard.empty();
  }
  bool StandardizePath(const std::string& path, std::string& out) override {
    return velm::io::StandardizePathASCII(path, out);
  }
  int64_t GetModifiedTime(const std::string&) override { return -1; }
  bool CreateDirectories(const std::string&) override { return false; }
  bool RemoveFile(const std::string&) override { return false; }
  bool RemoveDirectory(const std::string&) override { return false; }
  void List(const std::string& path, std::vector<std::string>& out) override {
    if (IsDirectory(path)) out.push_back(name_);
  }
  void ListFiles(const std::string& path, bool, std::vector<std::string>& out) override {
    List(path, out);
  }

 private:
  std::string name_;
  Bytes bytes_;
  bool seek_past_end_;
  int64_t claimed_size_;
  std::string kind_ = "memory";
  std::string root_;
};

}  // namespace fuzz

#endif  // VELMIO_FUZZ_MEMORY_OPENER_H_
