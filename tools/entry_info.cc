#include "entry_info.h"

#include <ctime>
#include <memory>

namespace tool {

EntryInfo Describe(velm::io::Opener& opener, const std::string& path) {
  EntryInfo info;
  if (opener.IsDirectory(path)) {
    info.exists = info.directory = true;
  } else if (opener.IsFile(path)) {
    info.exists = true;
    std::unique_ptr<velm::io::Input> input(opener.OpenInput(path));
    if (input) info.size = input->GetSize();
  }
  info.modified = opener.GetModifiedTime(path);
  return info;
}

std::string FormatTime(int64_t seconds) {
  std::time_t time = static_cast<std::time_t>(seconds);
  const std::tm* local = seconds < 0 ? nullptr : std::localtime(&time);
  char text[32];
  if (local == nullptr || std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", local) == 0) {
    return "-";
  }
  return text;
}

std::string FormatSize(int64_t size) { return size < 0 ? "-" : std::to_string(size); }

}  // namespace tool
