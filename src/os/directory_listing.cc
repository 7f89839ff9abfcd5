#include <queue>
#include <string>
#include <vector>

#include "os/make_absolute_path.h"
#include "os/opener_os.h"
#include "platform/platform.h"

namespace velm::io {
namespace {

bool IsDotOrDotDot(const std::string& name) { return name == "." || name == ".."; }

// Adds the files of base (of base/sub when sub is not empty) to out, named
// relative to base. With pending given, queues the sub-directories found.
void ScanDirectory(const std::string& base, const std::string& sub, std::vector<std::string>& out,
                   std::queue<std::string>* pending) {
  const std::string prefix = sub.empty() ? sub : sub + platform::kPathSeparator;
  std::vector<platform::DirectoryEntry> entries;
  if (!platform::calls.ListDirectory(sub.empty() ? base : base + platform::kPathSeparator + sub,
                                     entries)) {
    return;
  }
  for (platform::DirectoryEntry& entry : entries) {
    if (!entry.is_directory) {
      out.push_back(prefix + entry.name);
    } else if (pending != nullptr && !IsDotOrDotDot(entry.name)) {
      pending->push(prefix + entry.name);
    }
  }
}

}  // namespace

void OpenerOS::List(const std::string& path, std::vector<std::string>& out) {
  std::string absolute;
  if (!MakeAbsolutePath(path, absolute)) return;
  // Only a root ends in a separator; the directory is asked for without it,
  // so that the search pattern holds no doubled separator ("\\*" would be a
  // network path on Windows), and "" stands for the root.
  std::string directory = absolute;
  if (!directory.empty() && platform::IsSeparator(directory.back())) directory.pop_back();
  std::vector<platform::DirectoryEntry> entries;
  if (!platform::calls.ListDirectory(directory, entries)) return;
  for (const platform::DirectoryEntry& entry : entries) {
    if (!IsDotOrDotDot(entry.name)) out.push_back(absolute + platform::kPathSeparator + entry.name);
  }
}

void OpenerOS::ListFiles(const std::string& path, bool recursive, std::vector<std::string>& out) {
  if (!recursive) {
    ScanDirectory(path, std::string(), out, nullptr);
    return;
  }
  // Breadth first: the sub-directories of each level after its files.
  std::queue<std::string> pending;
  ScanDirectory(path, std::string(), out, &pending);
  while (!pending.empty()) {
    ScanDirectory(path, pending.front(), out, &pending);
    pending.pop();
  }
}

}  // namespace velm::io
