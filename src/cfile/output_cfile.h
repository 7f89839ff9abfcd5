#ifndef VELMIO_CFILE_OUTPUT_CFILE_H_
#define VELMIO_CFILE_OUTPUT_CFILE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <velm/io/stream>

#include "cfile/stream_cfile.h"

namespace velm::io {

// Writing handle over a StreamCFile, its sole owner.
class OutputCFile final : public Output {
 public:
  explicit OutputCFile(std::unique_ptr<StreamCFile> stream);
  OutputCFile(const OutputCFile&) = delete;
  OutputCFile& operator=(const OutputCFile&) = delete;
  ~OutputCFile() override;

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
  std::unique_ptr<StreamCFile> stream;
};

}  // namespace velm::io

#endif  // VELMIO_CFILE_OUTPUT_CFILE_H_
