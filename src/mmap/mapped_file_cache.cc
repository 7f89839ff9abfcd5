#include "mmap/mapped_file_cache.h"

#include <velm/io/opener>
#include <velm/log/log>

#include "os/make_absolute_path.h"
#include "platform/platform.h"

namespace velm::io {
namespace {

// Above this many entries every lookup first erases the expired ones.
constexpr std::size_t kSweepThreshold = 1000;

struct Unmapper {
  platform::MappedView view;
  // Nobody is left to tell of a failure here.
  void operator()(const char*) const { platform::calls.Unmap(view); }
};

std::shared_ptr<const char> NotOpened(const std::string& path) {
  log::LogError(LogChannel, "Failed to open mmap file %s", path.c_str());
  return nullptr;
}

}  // namespace

std::shared_ptr<const char> MappedFileCache::Acquire(const std::string& path, uint64_t& size) {
  // Keyed by the absolute path: a relative one leads to another file once the
  // current directory changes. The identity check below covers what the
  // lexical form cannot tell (links, a directory changed by another thread).
  std::string absolute;
  if (!MakeAbsolutePath(path, absolute)) return NotOpened(path);
  // Held for the whole lookup, the system calls and the log line included, so
  // that one path is never mapped twice at once.
  MutexLock hold(lock_);
  if (entries_.size() > kSweepThreshold) {
    for (auto it = entries_.begin(); it != entries_.end();) {
      it = it->second.view.expired() ? entries_.erase(it) : std::next(it);
    }
  }
  auto found = entries_.find(absolute);
  if (found != entries_.end()) {
    // A file replaced since it was mapped stays with the inputs that hold it;
    // the path now gets the new one.
    platform::FileIdentity now;
    std::shared_ptr<const char> live = found->second.view.lock();
    if (live && platform::calls.IdentityOf(path, now) && now == found->second.identity) {
      size = found->second.size;
      return live;
    }
    entries_.erase(found);
  }
  platform::MappedView mapped;
  switch (platform::calls.Map(path, mapped)) {
    case platform::MapResult::kMapped:
      break;
    case platform::MapResult::kNotOpened:
      return NotOpened(path);
    case platform::MapResult::kNoView:  // silent, as the open itself went well
      return nullptr;
  }
  // Owned from here on: a failing allocation unmaps it.
  std::shared_ptr<const char> view(mapped.data, Unmapper{mapped});
  entries_[absolute] = Entry{view, mapped.size, mapped.identity};
  size = mapped.size;
  return view;
}

std::size_t MappedFileCache::EntryCount() {
  MutexLock hold(lock_);
  return entries_.size();
}

void MappedFileCache::Clear() {
  MutexLock hold(lock_);
  entries_.clear();
}

}  // namespace velm::io
