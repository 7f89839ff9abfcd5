// What pack and extract ask of the file system beyond the library's back-ends,
// which never follow or report links and never set times.
#ifndef VELMIO_TOOLS_FILE_ATTRIBUTES_H_
#define VELMIO_TOOLS_FILE_ATTRIBUTES_H_

#include <cstdint>
#include <string>

namespace tool {

// True when path (UTF-8) is a symbolic link or another reparse point, which
// pack does not follow.
bool IsLink(const std::string& path);

// Sets the modification time of a file or directory to seconds since 1970.
bool SetModifiedTime(const std::string& path, int64_t seconds);

}  // namespace tool

#endif  // VELMIO_TOOLS_FILE_ATTRIBUTES_H_
