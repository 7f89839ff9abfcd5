#include "mmap/input_mmap.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace velm::io {

int32_t StreamMMap::Seek(int64_t offset, int32_t whence) {
  // Magnitude of a negative offset, also for the most negative one.
  const uint64_t back = 0 - static_cast<uint64_t>(offset);
  switch (whence) {
    case SEEK_SET:
      if (offset < 0 || static_cast<uint64_t>(offset) > size_) return -1;
      position_ = static_cast<uint64_t>(offset);
      return 0;
    case SEEK_CUR:
      if (offset >= 0) {
        if (static_cast<uint64_t>(offset) > size_ - position_) return -1;
        position_ += static_cast<uint64_t>(offset);
      } else {
        // Strictly below, on purpose: a relative seek back never arrives at
        // 0, and hosts rely on the -1 it gives there. Seek(0, 0) reaches 0.
        if (back >= position_) return -1;
        position_ -= back;
      }
      return 0;
    case SEEK_END:
      if (offset > 0 || back > size_) return -1;
      position_ = size_ - back;
      return 0;
    default:
      return -1;
  }
}

int64_t StreamMMap::Read(void* buffer, size_t count) {
  if (view_ == nullptr) return 0;
  const uint64_t n = std::min<uint64_t>(size_ - position_, count);
  if (n == 0) return 0;
  std::memcpy(buffer, view_.get() + position_, n);
  position_ += n;
  return static_cast<int64_t>(n);
}

Input* StreamMMap::Clone(Opener* opener, const std::string& path) {
  return new InputMMap(opener, path, StreamMMap(view_, size_));
}

}  // namespace velm::io
