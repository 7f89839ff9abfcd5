#ifndef VELMIO_OS_OUTPUT_SYS_H_
#define VELMIO_OS_OUTPUT_SYS_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <velm/io/stream>

#include "os/stream_sys.h"

namespace velm::io {

// Handle over the one StreamSys it owns; every operation forwards to it.
class OutputSys final : public Output {
 public:
  explicit OutputSys(std::unique_ptr<StreamSys> stream);
  ~OutputSys() override;
  OutputSys(const OutputSys&) = delete;
  OutputSys& operator=(const OutputSys&) = delete;

  int64_t Tell() override;
  int32_t Seek(int64_t offset, int32_t whence) override;
  int64_t GetSize() const override;
  bool IsEOF() override;
  void Close() override;
  bool IsClosed() const override;
  const std::string& GetPath() const override;
  Opener* GetOpener() const override;
  bool GetDescriptor(int* fd, int64_t* offset) override;
  int64_t Write(const void* buffer, size_t count) override;

 private:
  std::unique_ptr<StreamSys> stream;
};

}  // namespace velm::io

#endif  // VELMIO_OS_OUTPUT_SYS_H_
