#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/native.h"
#include "platform/platform.h"
#include "platform/windows/file_identity.h"
#include "platform/windows/owned_handle.h"
#include "platform/windows/wide_text.h"
#include "platform/windows/win32.h"

namespace velm::platform::native {

MapResult Map(const std::string& path, MappedView& view) {
  windows::WidePath wide(path);
  if (wide.IsRefused()) return MapResult::kNotOpened;
  // Share mode 0: a file that anyone holds open is not mapped, and nobody can
  // change its size between reading it and the mapping.
  HANDLE opened = CreateFileW(wide.text, GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return MapResult::kNotOpened;
  windows::OwnedHandle file(opened);
  FileIdentity identity;
  std::uint64_t size = 0;
  if (!windows::IdentityOfHandle(file.get(), identity, &size)) return MapResult::kNotOpened;
  // An empty file cannot be mapped: the mapping fails for it.
  windows::OwnedHandle mapping(
      CreateFileMappingW(file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
  // The mapping keeps the file open from here on.
  file.reset();
  if (mapping == nullptr) return MapResult::kNotOpened;
  const void* data = MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, 0);
  if (data == nullptr) return MapResult::kNoView;
  view.data = static_cast<const char*>(data);
  view.size = size;
  view.mapping = mapping.release();
  view.identity = identity;
  return MapResult::kMapped;
}

void Unmap(const MappedView& view) {
  // Nobody is left to tell of a failure here.
  if (view.data != nullptr) UnmapViewOfFile(view.data);
  if (view.mapping != nullptr) CloseHandle(view.mapping);
}

// Large pages need a privilege on Windows; the hint has nothing to do.
void AdviseLargePages(void*, std::size_t) {}

}  // namespace velm::platform::native
