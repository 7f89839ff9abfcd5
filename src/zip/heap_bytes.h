#ifndef VELMIO_ZIP_HEAP_BYTES_H_
#define VELMIO_ZIP_HEAP_BYTES_H_

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

namespace velm::io {

struct FreeDeleter {
  void operator()(unsigned char* bytes) const { std::free(bytes); }
};

// A heap block that can grow in place where the allocator allows it.
using Bytes = std::unique_ptr<unsigned char, FreeDeleter>;

// bytes grown or shrunk to size, keeping what they hold; size 0 still
// allocates.
inline void Resize(Bytes& bytes, uint64_t size) {
  void* moved = std::realloc(bytes.get(), size == 0 ? 1 : static_cast<size_t>(size));
  if (!moved) throw std::bad_alloc();
  bytes.release();
  bytes.reset(static_cast<unsigned char*>(moved));
}

}  // namespace velm::io

#endif  // VELMIO_ZIP_HEAP_BYTES_H_
