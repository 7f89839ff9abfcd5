#include <fcntl.h>
#include <sys/stat.h>

#include "file_attributes.h"

namespace tool {

bool IsLink(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool SetModifiedTime(const std::string& path, int64_t seconds) {
  // The access time is left as it is.
  const struct timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(seconds), 0}};
  return utimensat(AT_FDCWD, path.c_str(), times, 0) == 0;
}

}  // namespace tool
