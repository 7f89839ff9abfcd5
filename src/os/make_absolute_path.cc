#include "os/make_absolute_path.h"

#include <string>

#include "platform/platform.h"

namespace velm::io {

bool MakeAbsolutePath(const std::string& path, std::string& out) {
  // A NUL is refused by Canonicalize, as by every operation of the layer.
  std::string joined;
  if (platform::IsRelativePath(path)) {
    if (!platform::calls.CurrentDirectory(joined)) return false;
    joined += platform::kPathSeparator;
  }
  joined += path;
  // Separator runs become one separator of the platform's own, and a
  // trailing one goes; the root comes back from Canonicalize.
  std::string flat;
  flat.reserve(joined.size());
  for (char c : joined) {
    if (!platform::IsSeparator(c)) {
      flat += c;
    } else if (flat.empty() || flat.back() != platform::kPathSeparator) {
      flat += platform::kPathSeparator;
    }
  }
  if (!flat.empty() && flat.back() == platform::kPathSeparator) flat.pop_back();
  return platform::calls.Canonicalize(flat, out);
}

}  // namespace velm::io
