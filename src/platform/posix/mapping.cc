#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <map>
#include <mutex>

#include "platform/descriptor.h"
#include "platform/native.h"
#include "platform/posix/posix.h"

namespace velm::platform {
namespace {

FileIdentity IdentityOfStatus(const struct stat& status) {
  return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino)};
}

// The views this process holds, so that an open for writing can refuse a
// mapped file. Never destroyed: a view still held at exit is unmapped after
// the other statics are gone.
struct Views {
  std::mutex lock;
  std::map<const void*, FileIdentity> live;
};

Views& LiveViews() {
  static auto* views = new Views;
  return *views;
}

}  // namespace

namespace posix {

int TruncateUnlessMapped(int fd, const struct stat& status) {
  // Under the lock that Map holds, so that no view appears between the look
  // and the truncation.
  Views& views = LiveViews();
  std::lock_guard<std::mutex> hold(views.lock);
  const FileIdentity identity = IdentityOfStatus(status);
  for (const auto& [address, file] : views.live) {
    if (file == identity) return EACCES;
  }
  return ::ftruncate(fd, 0) == 0 ? 0 : errno;
}

}  // namespace posix

namespace native {

MapResult Map(const std::string& path, MappedView& view) {
  std::string native;
  if (!posix::ToNative(path, native)) return MapResult::kNotOpened;
  Descriptor file(posix::OpenFile(native, O_RDONLY));
  if (!file) return MapResult::kNotOpened;
  Views& views = LiveViews();
  // Sized under the lock, so that no output of this process empties the file
  // between its size and its view.
  std::lock_guard<std::mutex> hold(views.lock);
  struct stat status;
  // A read-only mapping can be neither empty nor larger than the file.
  if (::fstat(file.get(), &status) != 0 || status.st_size <= 0) return MapResult::kNotOpened;
  const auto size = static_cast<std::uint64_t>(status.st_size);
  void* address = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, file.get(), 0);
  if (address == MAP_FAILED) return MapResult::kNoView;
  const FileIdentity identity = IdentityOfStatus(status);
  try {
    views.live.emplace(address, identity);
  } catch (...) {
    ::munmap(address, size);
    throw;
  }
  view = MappedView{static_cast<const char*>(address), size, nullptr, identity};
  return MapResult::kMapped;
}

bool IdentityOf(const std::string& path, FileIdentity& out) {
  std::string native;
  struct stat status;
  if (!posix::ToNative(path, native) || ::stat(native.c_str(), &status) != 0) return false;
  out = IdentityOfStatus(status);
  return true;
}

void Unmap(const MappedView& view) {
  {
    Views& views = LiveViews();
    std::lock_guard<std::mutex> hold(views.lock);
    views.live.erase(view.data);
  }
  // Nobody is left to tell of a failure.
  ::munmap(const_cast<char*>(view.data), view.size);
}

void AdviseLargePages(void* block, std::size_t bytes) {
  const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  const auto start = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t first = (start + page - 1) / page * page;
  const std::uintptr_t end = (start + bytes) / page * page;
  // A refusal (no transparent huge pages here) changes nothing observable.
  if (end > first) ::madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
}

}  // namespace native
}  // namespace velm::platform
