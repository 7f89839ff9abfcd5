#include "mmap/input_mmap.h"

#include <cstdio>
#include <cstring>
#include <utility>

namespace velm::io {

InputMMap::InputMMap(Opener* opener, const std::string& path,
                     std::shared_ptr<char> view, uint64_t size)
    : path(path), opener(opener), view(std::move(view)), size(size) {}

InputMMap::~InputMMap() { Close(); }

int64_t InputMMap::Tell() { return static_cast<int64_t>(position); }

int32_t InputMMap::Seek(int64_t offset, int32_t whence) {
  // Magnitude of a negative offset, also for the most negative one.
  const uint64_t back = 0 - static_cast<uint64_t>(offset);
  switch (whence) {
    case SEEK_SET:
      if (offset < 0 || static_cast<uint64_t>(offset) > size) return -1;
      position = static_cast<uint64_t>(offset);
      return 0;
    case SEEK_CUR:
      if (offset >= 0) {
        if (static_cast<uint64_t>(offset) > size - position) return -1;
        position += static_cast<uint64_t>(offset);
      } else {
        // Strictly below, on purpose: a relative seek back never arrives at
        // 0, and hosts rely on the -1 it gives there. Seek(0, 0) reaches 0.
        if (back >= position) return -1;
        position -= back;
      }
      return 0;
    case SEEK_END:
      if (offset > 0 || back > size) return -1;
      position = size - back;
      return 0;
    default:
      return -1;
  }
}

int64_t InputMMap::GetSize() const { return static_cast<int64_t>(size); }

bool InputMMap::IsEOF() { return position >= size; }

void InputMMap::Close() { view.reset(); }

bool InputMMap::IsClosed() const { return view == nullptr; }

const std::string& InputMMap::GetPath() const { return path; }

Opener* InputMMap::GetOpener() const { return opener; }

bool InputMMap::GetDescriptor(int*, int64_t*) { return false; }

int64_t InputMMap::Read(void* buffer, size_t count) {
  if (view == nullptr) return 0;
  uint64_t n = size - position;
  if (count < n) n = count;
  if (n == 0) return 0;
  std::memcpy(buffer, view.get() + position, n);
  position += n;
  return static_cast<int64_t>(n);
}

Input* InputMMap::Clone() { return new InputMMap(opener, path, view, size); }

}  // namespace velm::io
