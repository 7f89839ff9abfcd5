#ifndef VELMIO_MMAP_MAPPED_FILE_CACHE_H_
#define VELMIO_MMAP_MAPPED_FILE_CACHE_H_

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include "platform/platform.h"

namespace velm::io {

// Deleter of a shared view: unmaps it, then closes the mapping handle.
struct MMapDeleter {
  platform::HANDLE handle = nullptr;
  void operator()(char* view) const;
};

struct MappedFileEntry {
  std::weak_ptr<char> view;
  uint64_t size = 0;
};

// Keyed by the path exactly as the caller wrote it, in UTF-16; the table
// holds weak references only, so it never keeps a view alive.
using MappedFileTable = std::map<platform::WideString, MappedFileEntry>;

// The built-in back-ends are built at load with this priority, the table and
// then its lock with the next one, and unload destroys them in the reverse
// order. Only a priority fixes the order between translation units: GNU ld
// runs them in link order, MinGW in the reverse order.
inline constexpr int kBuiltinOpenersInitPriority = 102;

extern MappedFileTable MappedFileCache;
extern std::mutex MappedFileCacheLock;

// The live entry for key, mapping the file if there is none. On success view
// holds a strong reference and the entry stays valid while it lives; null if
// the file could not be opened or mapped. A non-null entry with an empty view
// pointer means the view itself could not be made.
MappedFileEntry* AcquireMappedFile(const platform::WideString& key,
                                   std::shared_ptr<char>& view);

// Maps the whole file read-only; the mapping handle, or null.
platform::HANDLE MapWholeFile(const platform::WCHAR* path, uint64_t& size,
                              char*& view);

}  // namespace velm::io

#endif  // VELMIO_MMAP_MAPPED_FILE_CACHE_H_
