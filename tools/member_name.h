// Which member names the library can reach by a path.
#ifndef VELMIO_TOOLS_MEMBER_NAME_H_
#define VELMIO_TOOLS_MEMBER_NAME_H_

#include <string>

namespace tool {

// True when name is its own standardised form, so that opening it by that
// path finds it. Such a name has no "..", no leading "/", no backslash and no
// refused byte, which also makes it safe to write below a directory. A
// directory entry's final "/" is not counted.
bool IsReachableName(const std::string& name);

}  // namespace tool

#endif  // VELMIO_TOOLS_MEMBER_NAME_H_
