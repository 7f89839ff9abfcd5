#ifndef VELMIO_PLATFORM_POSIX_HANDLE_H_
#define VELMIO_PLATFORM_POSIX_HANDLE_H_

#include <dirent.h>

#include <cstdint>

#include "platform/platform.h"

namespace platform::posix {

// What a HANDLE points at on POSIX. CloseHandle and FindClose release it;
// until it is handed out, it releases what it holds itself.
struct Handle {
  enum class Kind { kFile, kMapping, kSearch };
  explicit Handle(Kind kind) : kind(kind) {}
  ~Handle();
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  Kind kind;
  int fd = -1;             // kFile, kMapping: an open descriptor
  std::uint64_t size = 0;  // kMapping: bytes to map
  DIR* directory = nullptr;  // kSearch
};

inline Handle* FromHandle(HANDLE handle) { return static_cast<Handle*>(handle); }

// Converts with the same rules as the Windows calls; malformed input becomes
// U+FFFD. Helpers for the POSIX side, not part of the platform interface.
std::string ToUtf8(const WCHAR* text);
WideString ToWide(const std::string& text);

// open(2) of path with the given flags, close-on-exec, refusing a directory
// (EACCES) as Windows cannot open one. A descriptor, or -1 with errno set.
int OpenFile(const WCHAR* path, int flags);

// A path for the POSIX calls: UTF-8 with every '\\' read as '/', since the
// library takes both separators alike on every platform.
std::string ToNativePath(const WCHAR* path);

}  // namespace platform::posix

#endif  // VELMIO_PLATFORM_POSIX_HANDLE_H_
