#ifndef VELMIO_MMAP_INPUT_MMAP_H_
#define VELMIO_MMAP_INPUT_MMAP_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <velm/io/stream>

#include "mmap/viewed_input.h"

namespace velm::io {

// Reads a shared read-only view of a whole file; clones share the view. Only
// dropping the last reference to the view makes a system call: it unmaps it.
// The position is a plain field.
class InputMMap final : public Input, public ViewedInput {
 public:
  InputMMap(Opener* opener, const std::string& path,
            std::shared_ptr<char> view, uint64_t size);
  InputMMap(const InputMMap&) = delete;
  InputMMap& operator=(const InputMMap&) = delete;
  ~InputMMap() override;

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
  Input* Clone() override;

  const char* GetView() const override { return view.get(); }

 private:
  std::string path;
  Opener* opener = nullptr;
  std::shared_ptr<char> view;
  uint64_t size = 0;
  uint64_t position = 0;
};

}  // namespace velm::io

#endif  // VELMIO_MMAP_INPUT_MMAP_H_
