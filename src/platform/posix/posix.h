#ifndef VELMIO_PLATFORM_POSIX_POSIX_H_
#define VELMIO_PLATFORM_POSIX_POSIX_H_

// What the POSIX operations share. Names are the bytes they are; only the
// separators of input change.

#include <sys/stat.h>

#include <string>

namespace velm::platform::posix {

// path with every '\\' read as '/'; false, and no system call, for a path
// that holds a NUL byte.
bool ToNative(const std::string& path, std::string& out);

// open(2) of native with flags, close-on-exec. A directory is refused
// (EACCES), and O_TRUNC empties the file only through TruncateUnlessMapped.
// A descriptor, or -1 with errno set.
int OpenFile(const std::string& native, int flags);

// Empties the regular file open on fd unless this process maps it: the
// view's next read would end the process with SIGBUS, and Windows refuses
// the same. 0, or an errno value (EACCES for a mapped file).
int TruncateUnlessMapped(int fd, const struct stat& status);

}  // namespace velm::platform::posix

#endif  // VELMIO_PLATFORM_POSIX_POSIX_H_
