#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/native.h"

namespace velm::platform {

// A leading separator is the root on Linux; '\\' counts too, since both
// separators are equal on input.
bool IsRelativePath(const std::string& path) { return path.empty() || !IsSeparator(path[0]); }

namespace native {
namespace {

// The bytes of a result, its terminator left out.
constexpr std::size_t kMaxPathBytes = 2047;

}  // namespace

bool CurrentDirectory(std::string& out) {
  // A null buffer makes getcwd allocate as much as the path needs.
  std::unique_ptr<char, decltype(&std::free)> current(::getcwd(nullptr, 0), &std::free);
  if (current == nullptr) return false;
  out = current.get();
  return true;
}

bool Canonicalize(const std::string& absolute, std::string& out) {
  if (absolute.find('\0') != std::string::npos) return false;
  std::vector<std::string_view> segments;
  const std::string_view text(absolute);
  for (std::size_t i = 0; i < text.size();) {
    while (i < text.size() && IsSeparator(text[i])) ++i;
    const std::size_t start = i;
    while (i < text.size() && !IsSeparator(text[i])) ++i;
    const std::string_view segment = text.substr(start, i - start);
    if (segment.empty() || segment == ".") continue;
    if (segment == "..") {
      // ".." at the root stays at the root.
      if (!segments.empty()) segments.pop_back();
      continue;
    }
    segments.push_back(segment);
  }
  std::string result;
  for (std::string_view segment : segments) {
    result += kPathSeparator;
    result += segment;
  }
  if (result.empty()) result = kPathSeparator;
  if (result.size() > kMaxPathBytes) return false;
  out = std::move(result);
  return true;
}

}  // namespace native
}  // namespace velm::platform
