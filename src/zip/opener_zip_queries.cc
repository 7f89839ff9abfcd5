#include <ctime>

#include <velm/io/path>

#include "platform/platform.h"
#include "zip/opener_zip.h"

namespace velm::io {

bool OpenerZip::StandardizePath(const std::string& path, std::string& out) {
  if (path.empty()) {
    out.clear();
    return true;
  }
  return StandardizePathASCII(path, out);
}

bool OpenerZip::DirectoryPrefix(const std::string& path, std::string& prefix) {
  if (!StandardizePath(path, prefix)) return false;
  if (!prefix.empty()) prefix += '/';
  return true;
}

bool OpenerZip::IsFile(const std::string& path) {
  std::string standard;
  if (!StandardizePath(path, standard)) return false;
  return index_.Find(standard) != nullptr;
}

bool OpenerZip::IsDirectory(const std::string& path) {
  std::string prefix;
  if (!DirectoryPrefix(path, prefix)) return false;
  if (prefix.empty() || index_.Find(prefix) != nullptr) return true;
  // A directory entry makes no parents, so a directory may exist only as
  // the prefix of a deeper name.
  MemberIndex::Range below = index_.WithPrefix(prefix);
  return below.first != below.second;
}

int64_t OpenerZip::GetModifiedTime(const std::string& path) {
  std::string standard;
  if (!StandardizePath(path, standard) || standard.empty()) return -1;
  const ZipEntry* found = index_.Find(standard);
  if (found == nullptr) return -1;
  const ZipEntry& entry = *found;
  std::tm time = {};
  time.tm_sec = (entry.dos_time & 0x1f) * 2;
  time.tm_min = (entry.dos_time >> 5) & 0x3f;
  time.tm_hour = (entry.dos_time >> 11) & 0x1f;
  time.tm_mday = entry.dos_date & 0x1f;
  time.tm_mon = ((entry.dos_date >> 5) & 0x0f) - 1;
  time.tm_year = ((entry.dos_date >> 9) & 0x7f) + 80;
  return static_cast<int64_t>(platform::calls.LocalTime(&time));
}

void OpenerZip::List(const std::string& path, std::vector<std::string>& out) {
  std::string prefix;
  if (!DirectoryPrefix(path, prefix)) return;
  auto [first, last] = index_.WithPrefix(prefix);
  for (auto it = first; it != last; ++it) {
    const std::string_view entry_name = index_.NameAt(*it);
    if (entry_name.size() == prefix.size()) continue;
    size_t slash = entry_name.find('/', prefix.size());
    if (slash == std::string_view::npos) {
      out.emplace_back(entry_name);
    } else if (slash + 1 == entry_name.size()) {
      out.emplace_back(entry_name.substr(0, slash));
    }
  }
}

void OpenerZip::ListFiles(const std::string& path, bool recursive, std::vector<std::string>& out) {
  std::string prefix;
  if (!DirectoryPrefix(path, prefix)) return;
  auto [first, last] = index_.WithPrefix(prefix);
  for (auto it = first; it != last; ++it) {
    const std::string_view relative = index_.NameAt(*it).substr(prefix.size());
    if (relative.empty() || relative.back() == '/') continue;
    if (!recursive && relative.find('/') != std::string_view::npos) continue;
    out.emplace_back(relative);
  }
}

}  // namespace velm::io
