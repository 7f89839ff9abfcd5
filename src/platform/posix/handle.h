#ifndef VELMIO_PLATFORM_POSIX_HANDLE_H_
#define VELMIO_PLATFORM_POSIX_HANDLE_H_

#include <dirent.h>
#include <sys/stat.h>
#include <sys/types.h>

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
  dev_t device = 0;        // kMapping: the file mapped, by identity
  ino_t inode = 0;
  DIR* directory = nullptr;  // kSearch
};

inline Handle* FromHandle(HANDLE handle) { return static_cast<Handle*>(handle); }

// Converts with the same rules as the Windows calls; malformed input becomes
// U+FFFD. Helpers for the POSIX side, not part of the platform interface.
std::string ToUtf8(const WCHAR* text);
WideString ToWide(const std::string& text);

// open(2) of path with the given flags, close-on-exec, refusing a directory
// (EACCES) as Windows cannot open one, and O_TRUNC of a mapped file as
// TruncateUnlessMapped does, with nothing changed. A descriptor, or -1 with
// errno set.
int OpenFile(const WCHAR* path, int flags);

// Empties the regular file open on fd, described by status, unless this
// process holds a view of it: the view's next read would end the process
// with SIGBUS, and Windows refuses the same. 0, or an errno value (EACCES for
// a mapped file).
int TruncateUnlessMapped(int fd, const struct stat& status);

// A path for the POSIX calls: UTF-8 with every '\\' read as '/', since the
// library takes both separators alike on every platform.
std::string ToNativePath(const WCHAR* path);

}  // namespace platform::posix

#endif  // VELMIO_PLATFORM_POSIX_HANDLE_H_
