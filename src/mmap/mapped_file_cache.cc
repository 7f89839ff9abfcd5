#include "mmap/mapped_file_cache.h"

#include <utility>

#include <velm/io/opener>
#include <velm/log/log>

#include "os/owned_handle.h"
#include "os/utf8_path.h"

namespace velm::io {

MappedFileTable MappedFileCache
    __attribute__((init_priority(kBuiltinOpenersInitPriority + 1)));
std::mutex MappedFileCacheLock
    __attribute__((init_priority(kBuiltinOpenersInitPriority + 1)));

namespace {

// Above this many entries every lookup first erases the expired ones.
constexpr std::size_t kSweepThreshold = 1000;

void EraseExpired(MappedFileTable& table) {
  for (auto it = table.begin(); it != table.end();) {
    if (it->second.view.expired()) {
      it = table.erase(it);
    } else {
      ++it;
    }
  }
}

}  // namespace

void MMapDeleter::operator()(char* view) const {
  // Nobody is left to tell of a failure here.
  platform::UnmapViewOfFile(view);
  platform::CloseHandle(handle);
}

MappedFileEntry* AcquireMappedFile(const platform::WideString& key,
                                   std::shared_ptr<char>& view) {
  std::lock_guard<std::mutex> lock(MappedFileCacheLock);
  if (MappedFileCache.size() > kSweepThreshold) EraseExpired(MappedFileCache);

  auto found = MappedFileCache.find(key);
  if (found != MappedFileCache.end()) {
    std::shared_ptr<char> live = found->second.view.lock();
    if (live != nullptr) {
      view = std::move(live);
      return &found->second;
    }
    MappedFileCache.erase(found);
  }

  uint64_t size = 0;
  char* pointer = nullptr;
  platform::HANDLE mapping = MapWholeFile(key.c_str(), size, pointer);
  if (mapping == nullptr) {
    Utf8Path text(key.c_str());
    log::LogError(LogChannel, "Failed to open mmap file %s", text.text);
    return nullptr;
  }
  // A null pointer is kept as well: the deleter then closes the mapping
  // when the caller drops it, and the entry expires at once.
  view = std::shared_ptr<char>(pointer, MMapDeleter{mapping});
  auto inserted = MappedFileCache.emplace(key, MappedFileEntry{view, size});
  return &inserted.first->second;
}

platform::HANDLE MapWholeFile(const platform::WCHAR* path, uint64_t& size,
                              char*& view) {
  // Share mode 0: on Windows a file that anyone holds open is not mapped.
  // POSIX knows no share modes, and there it maps all the same.
  platform::HANDLE opened =
      platform::CreateFileW(path, GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return nullptr;
  OwnedHandle file(opened);
  // Only the low 32 bits are kept; the view still spans the whole file.
  size = platform::GetFileSize(file.get(), nullptr);
  OwnedHandle mapping(platform::CreateFileMappingW(
      file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
  // The mapping keeps the file open from here on.
  file.reset();
  if (mapping == nullptr) return nullptr;
  view = static_cast<char*>(
      platform::MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, 0));
  return mapping.release();
}

}  // namespace velm::io
