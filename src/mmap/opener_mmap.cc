#include "mmap/opener_mmap.h"

#include <memory>
#include <utility>

#include "mmap/input_mmap.h"
#include "mmap/mapped_file_cache.h"

namespace velm::io {

Input* OpenerMMap::OpenInput(const std::string& path) {
  uint64_t size = 0;
  std::shared_ptr<const char> view = MappedFiles().Acquire(path, size);
  if (view == nullptr) return nullptr;
  return new InputMMap(this, path, StreamMMap(std::move(view), size));
}

Output* OpenerMMap::OpenOutput(const std::string&) { return nullptr; }

}  // namespace velm::io
