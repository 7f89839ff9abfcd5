#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include "platform/posix/handle.h"

namespace platform::native {

using posix::FromHandle;
using posix::Handle;

namespace {

// munmap needs the length that UnmapViewOfFile is not given. Never
// destroyed, so that a view still held at exit can be unmapped after the
// other statics are gone.
struct Views {
  std::mutex lock;
  std::map<const void*, std::size_t> lengths;
};

Views& LiveViews() {
  static auto* views = new Views;
  return *views;
}

}  // namespace

HANDLE CreateFileMappingW(HANDLE file, void*, DWORD, DWORD maximum_size_high,
                          DWORD maximum_size_low, const WCHAR*) {
  if (file == nullptr || file == INVALID_HANDLE_VALUE) return nullptr;
  Handle* source = FromHandle(file);
  if (source->kind != Handle::Kind::kFile) return nullptr;
  struct stat status;
  if (::fstat(source->fd, &status) != 0) return nullptr;
  auto file_size = static_cast<std::uint64_t>(status.st_size);
  std::uint64_t size =
      (static_cast<std::uint64_t>(maximum_size_high) << 32) | maximum_size_low;
  if (size == 0) size = file_size;
  // A read-only mapping can neither be empty nor extend the file.
  if (size == 0 || size > file_size) return nullptr;
  auto mapping = std::make_unique<Handle>(Handle::Kind::kMapping);
  mapping->size = size;
  // The mapping keeps the file open after its file handle is closed.
  mapping->fd = ::fcntl(source->fd, F_DUPFD_CLOEXEC, 0);
  if (mapping->fd < 0) return nullptr;
  return mapping.release();
}

void* MapViewOfFile(HANDLE mapping, DWORD, DWORD offset_high,
                    DWORD offset_low, std::size_t bytes) {
  if (mapping == nullptr || mapping == INVALID_HANDLE_VALUE) return nullptr;
  Handle* source = FromHandle(mapping);
  if (source->kind != Handle::Kind::kMapping) return nullptr;
  std::uint64_t offset =
      (static_cast<std::uint64_t>(offset_high) << 32) | offset_low;
  if (offset >= source->size) return nullptr;
  std::uint64_t length = bytes != 0 ? bytes : source->size - offset;
  if (length > source->size - offset) return nullptr;
  Views& views = LiveViews();
  std::lock_guard<std::mutex> lock(views.lock);
  void* address = ::mmap(nullptr, length, PROT_READ, MAP_SHARED, source->fd,
                         static_cast<off_t>(offset));
  if (address == MAP_FAILED) return nullptr;
  // Owns the view until the table knows its length.
  auto unmap = [length](void* view) { ::munmap(view, length); };
  std::unique_ptr<void, decltype(unmap)> view(address, unmap);
  views.lengths.emplace(view.get(), length);
  return view.release();
}

BOOL UnmapViewOfFile(const void* view) {
  std::size_t length;
  {
    Views& views = LiveViews();
    std::lock_guard<std::mutex> lock(views.lock);
    auto found = views.lengths.find(view);
    if (found == views.lengths.end()) return 0;
    length = found->second;
    views.lengths.erase(found);
  }
  return ::munmap(const_cast<void*>(view), length) == 0 ? 1 : 0;
}

}  // namespace platform::native
