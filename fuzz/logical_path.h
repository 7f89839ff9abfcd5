// What every true result of StandardizePathASCII must look like, checked by
// the path and the archive harnesses alike.
#ifndef VELMIO_FUZZ_LOGICAL_PATH_H_
#define VELMIO_FUZZ_LOGICAL_PATH_H_

#include <string>
#include <string_view>

#include <velm/io/path>

#include "check.h"

namespace fuzz {

inline bool IsRejectedByte(char c) {
  return std::string_view("\t\n\r \"':<>").find(c) != std::string_view::npos;
}

// Relative, "/" alone as separator, no empty or ".." component, "." only
// last, no rejected byte, and a fixed point of the standardiser.
inline void CheckLogicalPath(const std::string& path) {
  FUZZ_CHECK(path.find('\\') == std::string::npos);
  for (char c : path) FUZZ_CHECK(!IsRejectedByte(c));
  if (!path.empty()) {
    FUZZ_CHECK(path.front() != '/' && path.back() != '/');
    FUZZ_CHECK(path.find("//") == std::string::npos);
  }
  size_t begin = 0;
  while (begin < path.size()) {
    size_t end = path.find('/', begin);
    if (end == std::string::npos) end = path.size();
    const std::string_view component(path.data() + begin, end - begin);
    FUZZ_CHECK(component != "..");
    FUZZ_CHECK(component != "." || end == path.size());
    begin = end + 1;
  }
  std::string again = "\x01previous";
  FUZZ_CHECK(velm::io::StandardizePathASCII(path, again));
  FUZZ_CHECK(again == path);
}

}  // namespace fuzz

#endif  // VELMIO_FUZZ_LOGICAL_PATH_H_
