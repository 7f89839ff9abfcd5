#ifndef VELMIO_OS_INPUT_SYS_H_
#define VELMIO_OS_INPUT_SYS_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <velm/io/stream>

#include "os/stream_sys.h"

namespace velm::io {

// Handle over the one StreamSys it owns; every operation forwards to it.
class InputSys final : public Input {
 public:
  explicit InputSys(std::unique_ptr<StreamSys> stream);
  ~InputSys() override;
  InputSys(const InputSys&) = delete;
  InputSys& operator=(const InputSys&) = delete;

  int64_t Tell() override;
  int32_t Seek(int64_t offset, int32_t whence) override;
  int64_t GetSize() const override;
  bool IsEOF() override;
  void Close() override;
  bool IsClosed() const override;
  const std::string& GetPath() const override;
  Opener* GetOpener() const override;
  bool GetDescriptor(int* fd, int64_t* offset) override;
  int64_t Read(void* buffer, size_t count) override;
  // A second, separate open by path, so a closed stream can be cloned too.
  Input* Clone() override;

 private:
  std::unique_ptr<StreamSys> stream;
};

}  // namespace velm::io

#endif  // VELMIO_OS_INPUT_SYS_H_
