#ifndef VELMIO_CFILE_INPUT_CFILE_H_
#define VELMIO_CFILE_INPUT_CFILE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <velm/io/stream>

#include "cfile/stream_cfile.h"

namespace velm::io {

// Reading handle over a StreamCFile, its sole owner.
class InputCFile final : public Input {
 public:
  explicit InputCFile(std::unique_ptr<StreamCFile> stream);
  InputCFile(const InputCFile&) = delete;
  InputCFile& operator=(const InputCFile&) = delete;
  ~InputCFile() override;

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
  // A second open of the path through the stream's Opener, also when closed.
  Input* Clone() override;

 private:
  std::unique_ptr<StreamCFile> stream;
};

}  // namespace velm::io

#endif  // VELMIO_CFILE_INPUT_CFILE_H_
