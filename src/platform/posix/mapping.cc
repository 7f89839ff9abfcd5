#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include "platform/posix/handle.h"

namespace platform {
namespace {

using posix::FromHandle;
using posix::Handle;

struct View {
  std::size_t length;
  dev_t device;
  ino_t inode;
};

struct Views {
  std::mutex lock;
  std::map<const void*, View> live;
};

// The views this process holds: munmap needs the length that
// UnmapViewOfFile is not given, and an emptying open the file. Never
// destroyed, so that a view still held at exit can be unmapped after the
// other statics are gone.
Views& LiveViews() {
  static auto* views = new Views;
  return *views;
}

}  // namespace

namespace posix {

int TruncateUnlessMapped(int fd, const struct stat& status) {
  // Under the lock that MapViewOfFile holds, so that no view appears between
  // the look and the truncation.
  Views& views = LiveViews();
  std::lock_guard<std::mutex> lock(views.lock);
  for (const auto& [address, view] : views.live) {
    if (view.device == status.st_dev && view.inode == status.st_ino) return EACCES;
  }
  return ::ftruncate(fd, 0) == 0 ? 0 : errno;
}

}  // namespace posix

namespace native {

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
  mapping->device = status.st_dev;
  mapping->inode = status.st_ino;
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
  // An output of another thread may have emptied the file since its size was
  // taken; under the lock no output can do so until the view is known.
  struct stat status;
  if (::fstat(source->fd, &status) != 0 ||
      static_cast<std::uint64_t>(status.st_size) < offset + length) {
    return nullptr;
  }
  void* address = ::mmap(nullptr, length, PROT_READ, MAP_SHARED, source->fd,
                         static_cast<off_t>(offset));
  if (address == MAP_FAILED) return nullptr;
  // Owns the view until the table knows its length.
  auto unmap = [length](void* view) { ::munmap(view, length); };
  std::unique_ptr<void, decltype(unmap)> view(address, unmap);
  views.live.emplace(view.get(), View{length, source->device, source->inode});
  return view.release();
}

BOOL UnmapViewOfFile(const void* view) {
  std::size_t length;
  {
    Views& views = LiveViews();
    std::lock_guard<std::mutex> lock(views.lock);
    auto found = views.live.find(view);
    if (found == views.live.end()) return 0;
    length = found->second.length;
    views.live.erase(found);
  }
  return ::munmap(const_cast<void*>(view), length) == 0 ? 1 : 0;
}

void AdviseLargePages(void* block, std::size_t bytes) {
  const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  const auto start = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t first = (start + page - 1) / page * page;
  const std::uintptr_t end = (start + bytes) / page * page;
  // A refusal (no transparent huge pages here) changes nothing observable.
  if (end > first) {
    ::madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
  }
}

}  // namespace native
}  // namespace platform
