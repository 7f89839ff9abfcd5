#ifndef VELMIO_MMAP_INPUT_MMAP_H_
#define VELMIO_MMAP_INPUT_MMAP_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "core/file_stream.h"
#include "core/viewed_input.h"

namespace velm::io {

// Reads a shared read-only view of a whole file; clones share the view. Only
// dropping the last reference to the view makes a system call: it unmaps it.
class StreamMMap {
 public:
  static constexpr ReadAheadRules kReadAheadRules = {true, true, true};

  StreamMMap(std::shared_ptr<const char> view, uint64_t size)
      : view_(std::move(view)), size_(size) {}

  int64_t Tell() { return static_cast<int64_t>(position_); }
  int32_t Seek(int64_t offset, int32_t whence);
  int64_t GetSize() const { return static_cast<int64_t>(size_); }
  bool IsEOF() { return position_ >= size_; }
  void Close() { view_.reset(); }
  bool IsClosed() const { return view_ == nullptr; }
  bool GetDescriptor(int*, int64_t*) { return false; }
  int64_t Read(void* buffer, size_t count);
  Input* Clone(Opener* opener, const std::string& path);

  const char* view() const { return view_.get(); }

 private:
  std::shared_ptr<const char> view_;
  uint64_t size_;
  uint64_t position_ = 0;
};

class InputMMap final : public FileInput<StreamMMap>, public ViewedInput {
 public:
  using FileInput::FileInput;

  const char* GetView() const override { return file_.view(); }
};

}  // namespace velm::io

#endif  // VELMIO_MMAP_INPUT_MMAP_H_
