#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "platform/posix/handle.h"

namespace platform::native {
namespace {

bool IsSeparator(WCHAR unit) { return unit == u'/' || unit == u'\\'; }

size_t Length(const WCHAR* text) { return std::char_traits<WCHAR>::length(text); }

}  // namespace

DWORD GetCurrentDirectoryW(DWORD size, WCHAR* destination) {
  // getcwd with a null buffer allocates as much as the path needs.
  std::unique_ptr<char, decltype(&std::free)> current(::getcwd(nullptr, 0),
                                                      &std::free);
  if (current == nullptr) return 0;
  WideString wide = posix::ToWide(current.get());
  if (wide.size() + 1 > size || destination == nullptr) {
    return static_cast<DWORD>(wide.size() + 1);
  }
  wide.copy(destination, wide.size());
  destination[wide.size()] = 0;
  return static_cast<DWORD>(wide.size());
}

BOOL PathIsRelativeW(const WCHAR* path) {
  if (path == nullptr) return 1;
  return IsSeparator(path[0]) ? 0 : 1;
}

BOOL PathAppendW(WCHAR* path, const WCHAR* more) {
  if (path == nullptr || more == nullptr) return 0;
  while (IsSeparator(*more)) ++more;
  size_t length = Length(path);
  size_t more_length = Length(more);
  bool separator = more_length != 0 && length != 0 && !IsSeparator(path[length - 1]);
  // The caller gives room for both texts and a separator: unlike the
  // Windows call this one has no MAX_PATH to stop at.
  size_t total = length + (separator ? 1 : 0) + more_length;
  if (separator) path[length++] = kPathSeparator;
  std::char_traits<WCHAR>::copy(path + length, more, more_length);
  path[total] = 0;
  return 1;
}

BOOL PathCanonicalizeW(WCHAR* destination, const WCHAR* source) {
  if (destination == nullptr || source == nullptr) return 0;
  size_t length = Length(source);
  // Each kept segment as (start, length) in source.
  std::vector<std::pair<size_t, size_t>> segments;
  for (size_t i = 0; i < length;) {
    while (i < length && IsSeparator(source[i])) ++i;
    size_t start = i;
    while (i < length && !IsSeparator(source[i])) ++i;
    size_t count = i - start;
    if (count == 0 || (count == 1 && source[start] == u'.')) continue;
    if (count == 2 && source[start] == u'.' && source[start + 1] == u'.') {
      // ".." at the root stays at the root.
      if (!segments.empty()) segments.pop_back();
      continue;
    }
    segments.emplace_back(start, count);
  }
  WideString result;
  for (const auto& segment : segments) {
    result.push_back(kPathSeparator);
    result.append(source + segment.first, segment.second);
  }
  if (result.empty()) {
    result.push_back(kPathSeparator);
  } else if (length != 0 && IsSeparator(source[length - 1])) {
    result.push_back(kPathSeparator);
  }
  if (result.size() + 1 > kPathBufferUnits) return 0;
  result.copy(destination, result.size());
  destination[result.size()] = 0;
  return 1;
}

}  // namespace platform::native
