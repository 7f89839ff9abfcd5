#ifndef VELMIO_CORE_FILE_STREAM_H_
#define VELMIO_CORE_FILE_STREAM_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include <velm/io/opener>
#include <velm/io/stream>

#include "core/read_ahead_rules.h"

namespace velm::io {

// The one shape of every stream of the library: the contract over a File,
// its sole owner, which does the work; destroying the stream destroys the
// File, which closes what it holds. A File is a plain class with Tell, Seek,
// GetSize, IsEOF, Close, IsClosed and GetDescriptor as the contract names
// them; for input also Read, and Clone(opener, path); for output Write.
template <typename Contract, typename File>
class FileStream : public Contract {
 public:
  FileStream(Opener* opener, std::string path, File file)
      : file_(std::move(file)), opener_(opener), path_(std::move(path)) {}
  FileStream(const FileStream&) = delete;
  FileStream& operator=(const FileStream&) = delete;

  int64_t Tell() override { return file_.Tell(); }
  int32_t Seek(int64_t offset, int32_t whence) override { return file_.Seek(offset, whence); }
  int64_t GetSize() const override { return file_.GetSize(); }
  bool IsEOF() override { return file_.IsEOF(); }
  void Close() override { file_.Close(); }
  bool IsClosed() const override { return file_.IsClosed(); }
  const std::string& GetPath() const override { return path_; }
  Opener* GetOpener() const override { return opener_; }
  bool GetDescriptor(int* fd, int64_t* offset) override { return file_.GetDescriptor(fd, offset); }

 protected:
  File file_;

 private:
  Opener* opener_;
  std::string path_;
};

// A File for input also names its kReadAheadRules.
template <typename File>
class FileInput : public FileStream<Input, File>, public ReadAheadFace {
 public:
  using FileStream<Input, File>::FileStream;
  ReadAheadRules GetReadAheadRules() const override { return File::kReadAheadRules; }

  int64_t Read(void* buffer, size_t count) override { return this->file_.Read(buffer, count); }
  Input* Clone() override { return this->file_.Clone(this->GetOpener(), this->GetPath()); }
};

template <typename File>
class FileOutput final : public FileStream<Output, File> {
 public:
  using FileStream<Output, File>::FileStream;

  int64_t Write(const void* buffer, size_t count) override {
    return this->file_.Write(buffer, count);
  }
};

// A second, separate open by path through the stream's Opener, so that a
// closed stream can be cloned too: the Clone of the OS files.
inline Input* ReopenByPath(Opener* opener, const std::string& path) {
  return opener != nullptr ? opener->OpenInput(path) : nullptr;
}

}  // namespace velm::io

#endif  // VELMIO_CORE_FILE_STREAM_H_
