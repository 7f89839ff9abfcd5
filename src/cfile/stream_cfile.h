#ifndef VELMIO_CFILE_STREAM_CFILE_H_
#define VELMIO_CFILE_STREAM_CFILE_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include <velm/io/stream>

#include "os/stream_handle.h"

namespace velm::io {

// The state of one file open through the runtime's FILE; InputCFile and
// OutputCFile forward to it. A null file means closed.
class StreamCFile final : public Stream {
 public:
  StreamCFile();
  StreamCFile(const StreamCFile&) = delete;
  StreamCFile& operator=(const StreamCFile&) = delete;
  ~StreamCFile() override;

  int64_t Tell() override;
  int32_t Seek(int64_t offset, int32_t whence) override;
  int64_t GetSize() const override;
  bool IsEOF() override;
  void Close() override;
  bool IsClosed() const override;
  const std::string& GetPath() const override;
  Opener* GetOpener() const override;
  bool GetDescriptor(int* fd, int64_t* offset) override;

  int64_t Read(void* buffer, size_t count);
  int64_t Write(const void* buffer, size_t count);

 private:
  friend std::unique_ptr<StreamCFile> CreateStreamCFile(
      Opener* opener, std::FILE* file, const std::string& path);

  std::string path;
  Opener* opener = nullptr;
  std::FILE* file = nullptr;
  int64_t size = 0;
};

class InputCFile final : public InputHandle<StreamCFile> {
 public:
  using InputHandle::InputHandle;
};

class OutputCFile final : public OutputHandle<StreamCFile> {
 public:
  using OutputHandle::OutputHandle;
};

// The file at path opened "rb", or "wb" when write is true; null on failure.
std::FILE* OpenStdioFile(const std::string& path, bool write);

// A stream that owns file, with its size found by seeking; null if file is.
std::unique_ptr<StreamCFile> CreateStreamCFile(Opener* opener,
                                               std::FILE* file,
                                               const std::string& path);

}  // namespace velm::io

#endif  // VELMIO_CFILE_STREAM_CFILE_H_
