#include <string_view>

#include <velm/io/path>

namespace velm::io {
namespace {

bool IsRejected(unsigned char byte) {
  switch (byte) {
    case 0x09:
    case 0x0A:
    case 0x0D:
    case 0x20:
    case 0x22:
    case 0x27:
    case 0x3A:
    case 0x3C:
    case 0x3E:
      return true;
    default:
      return false;
  }
}

// Applies one component to the path joined so far; false only for ".." with
// nothing left to remove. A lone "." vanishes inside the path but is kept as
// the last component. Components are never empty and hold no separator, so
// an empty path has none and the last one starts behind the last '/'.
bool Apply(std::string_view component, bool last, std::string& joined) {
  if (component == "..") {
    if (joined.empty()) return false;
    const size_t slash = joined.rfind('/');
    joined.resize(slash == std::string::npos ? 0 : slash);
  } else if (!component.empty() && (last || component != ".")) {
    if (!joined.empty()) joined.push_back('/');
    joined.append(component);
  }
  return true;
}

}  // namespace

// Every open and query of an archive comes through here: one pass, one
// string, no string per component.
bool StandardizePathASCII(const std::string& in, std::string& out) {
  const std::string_view path(in);
  std::string joined;
  joined.reserve(path.size());
  size_t start = 0;
  for (size_t i = 0; i < path.size(); ++i) {
    const auto byte = static_cast<unsigned char>(path[i]);
    if (IsRejected(byte)) return false;
    if (byte == '/' || byte == '\\') {
      if (!Apply(path.substr(start, i - start), false, joined)) return false;
      start = i + 1;
    }
  }
  if (!Apply(path.substr(start), true, joined)) return false;
  out = std::move(joined);
  return true;
}

}  // namespace velm::io
