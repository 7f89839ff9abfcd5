#include "member_name.h"

#include <velm/io/path>

namespace tool {

bool IsReachableName(const std::string& name) {
  std::string path = name;
  if (!path.empty() && path.back() == '/') path.pop_back();
  std::string standard;
  return velm::io::StandardizePathASCII(path, standard) && !standard.empty() && standard == path;
}

}  // namespace tool
