#ifndef VELMIO_OS_MAKE_ABSOLUTE_PATH_H_
#define VELMIO_OS_MAKE_ABSOLUTE_PATH_H_

#include <string>

namespace velm::io {

// The absolute, normalised form of path: relative paths are taken against the
// current directory, separator runs collapse to one, "." and ".." are worked
// out and a trailing separator goes. Asks the file system for nothing else.
// False, with out untouched, when the result does not fit 2047 units, or
// the current directory cannot be read. On Windows the bound is what the
// shell's path calls take, MAX_PATH units with the terminator, for relative
// and absolute paths alike.
bool MakeAbsolutePath(const std::string& path, std::string& out);

}  // namespace velm::io

#endif  // VELMIO_OS_MAKE_ABSOLUTE_PATH_H_
