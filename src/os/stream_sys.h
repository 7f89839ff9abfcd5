#ifndef VELMIO_OS_STREAM_SYS_H_
#define VELMIO_OS_STREAM_SYS_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include <velm/io/stream>

#include "os/stream_handle.h"

namespace velm::io {

// The state of one file open on a CRT descriptor, owned by exactly one
// InputSys or OutputSys. No buffering: each Read or Write is one CRT call.
class StreamSys final : public Stream {
 public:
  StreamSys();
  ~StreamSys() override;
  StreamSys(const StreamSys&) = delete;
  StreamSys& operator=(const StreamSys&) = delete;

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

  std::string path;
  Opener* opener = nullptr;
  int32_t descriptor = -1;
  int64_t size = 0;
};

class InputSys final : public InputHandle<StreamSys> {
 public:
  using InputHandle::InputHandle;
};

class OutputSys final : public OutputHandle<StreamSys> {
 public:
  using OutputHandle::OutputHandle;
};

}  // namespace velm::io

#endif  // VELMIO_OS_STREAM_SYS_H_
