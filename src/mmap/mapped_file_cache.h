#ifndef VELMIO_MMAP_MAPPED_FILE_CACHE_H_
#define VELMIO_MMAP_MAPPED_FILE_CACHE_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "core/mutex.h"
#include "platform/platform.h"

namespace velm::io {

// The views of mapped files, one per file while any input holds it. Keyed by
// absolute path, and a view is shared only while the path still leads to the
// file it maps; the table holds weak references only, so it never keeps a
// view alive.
class MappedFileCache {
 public:
  // The live view of the file at path, mapping it if no input holds one;
  // size is the view's length. Null, logged, when the file cannot be mapped.
  std::shared_ptr<const char> Acquire(const std::string& path, uint64_t& size);

  std::size_t EntryCount();
  void Clear();

 private:
  struct Entry {
    std::weak_ptr<const char> view;
    uint64_t size = 0;
    platform::FileIdentity identity;
  };

  Mutex lock_;
  std::map<std::string, Entry> entries_ VELM_GUARDED_BY(lock_);
};

// The process's one table, made with the built-in back-ends.
MappedFileCache& MappedFiles();

}  // namespace velm::io

#endif  // VELMIO_MMAP_MAPPED_FILE_CACHE_H_
