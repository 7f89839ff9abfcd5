#include "mmap/opener_mmap.h"

#include <memory>

#include "mmap/input_mmap.h"
#include "mmap/mapped_file_cache.h"
#include "os/wide_path.h"
#include "platform/platform.h"

namespace velm::io {

Input* OpenerMMap::OpenInput(const std::string& path) {
  std::shared_ptr<char> view;
  platform::WideString key;
  {
    WidePath wide(path.c_str());
    key = wide.text;
  }
  MappedFileEntry* entry = AcquireMappedFile(key, view);
  if (entry == nullptr || view == nullptr) return nullptr;
  // The entry stays valid while view is held: live entries are never erased.
  return new InputMMap(this, path, view, entry->size);
}

Output* OpenerMMap::OpenOutput(const std::string&) { return nullptr; }

}  // namespace velm::io
