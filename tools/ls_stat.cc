// ls and stat: what an archive, or a directory of the file system, holds.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "archive_chain.h"
#include "central_directory.h"
#include "commands.h"
#include "entry_info.h"
#include "messages.h"

namespace tool {
namespace {

namespace io = velm::io;

std::string Join(const std::string& directory, const std::string& name) {
  if (directory.empty()) return name;
  if (name.empty()) return directory;
  return directory + "/" + name;
}

std::string MethodName(uint16_t method) {
  if (method == 0) return "stored";
  if (method == 8) return "deflated";
  return "method " + std::to_string(method);
}

// The method of member as the central directory records it; the library
// does not tell it.
std::string MethodOf(ArchiveChain& chain, io::Opener& archive, const std::string& member) {
  std::string name;
  std::unique_ptr<io::Input> input(chain.container().OpenInput(chain.path()));
  CentralDirectory directory;
  std::string error;
  if (!archive.StandardizePath(member, name) || !input ||
      !ReadCentralDirectory(*input, directory, error)) {
    return "unknown (no central directory)";
  }
  for (const CentralEntry& entry : directory.entries) {
    if (entry.name == name) return MethodName(entry.method);
  }
  return "unknown (not in the central directory)";
}

void PrintField(const char* field, const std::string& value) {
  std::printf("%-9s %s\n", field, value.c_str());
}

void PrintInfo(const std::string& name, const char* kind, const EntryInfo& info) {
  PrintField("name:", name);
  PrintField("kind:", kind);
  PrintField("size:", FormatSize(info.size));
  PrintField("modified:", FormatTime(info.modified));
}

}  // namespace

int RunLs(const Options& options) {
  ArchiveChain chain;
  if (!chain.OpenContainer(options.operands[0], options.via)) return 1;
  const std::string directory = options.operands.size() > 1 ? options.operands[1] : "";
  io::Opener& container = chain.container();
  io::Opener* opener = &container;
  std::string root;
  if (!chain.nested() && container.IsDirectory(chain.path()) && !container.IsFile(chain.path())) {
    root = Join(chain.path(), directory);
  } else {
    opener = chain.Load();
    if (opener == nullptr) return 1;
    root = directory;
  }
  if (!opener->IsDirectory(root)) {
    return Error("%s: no directory %s", chain.name().c_str(), directory.c_str());
  }
  const bool recursive = options.Has('r');
  std::vector<std::string> names;
  if (recursive) {
    opener->ListFiles(root, true, names);
  } else {
    opener->List(root, names);
  }
  for (const std::string& name : names) {
    if (!options.Has('l')) {
      std::printf("%s\n", name.c_str());
      continue;
    }
    EntryInfo info = Describe(*opener, recursive ? Join(root, name) : name);
    std::printf("%10s  %-19s  %-4s  %s\n", FormatSize(info.size).c_str(),
                FormatTime(info.modified).c_str(), info.directory ? "dir" : "file", name.c_str());
  }
  return 0;
}

int RunStat(const Options& options) {
  ArchiveChain chain;
  if (!chain.OpenContainer(options.operands[0], options.via)) return 1;
  io::Opener* archive = chain.Load();
  if (archive == nullptr) return 1;
  if (options.operands.size() == 1) {
    std::vector<std::string> files;
    archive->ListFiles("", true, files);
    PrintInfo(chain.name(), "archive", Describe(chain.container(), chain.path()));
    PrintField("files:", std::to_string(files.size()));
    return 0;
  }
  const std::string& member = options.operands[1];
  EntryInfo info = Describe(*archive, member);
  if (!info.exists) return Error("%s: no member %s", chain.name().c_str(), member.c_str());
  PrintInfo(member, info.directory ? "directory" : "file", info);
  PrintField("method:", info.directory ? "-" : MethodOf(chain, *archive, member));
  return 0;
}

}  // namespace tool
