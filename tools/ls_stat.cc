// ls and stat: what an archive, or a directory of the file system, holds.
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "archive_chain.h"
#include "commands.h"
#include "entry_info.h"
#include "member_facts.h"
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
  return "method" + std::to_string(method);
}

std::string Crc(const MemberFacts& facts) {
  if (!facts.crc_known) return "-";
  char text[12];
  std::snprintf(text, sizeof text, "%08" PRIx32, facts.crc32);
  return text;
}

// What unzip -v shows: compressed size and its share saved, method, CRC-32.
void PrintLong(io::Opener& opener, const MemberTable* table, const std::string& path,
               const std::string& shown) {
  const MemberFacts* facts = table ? table->Find(path) : nullptr;
  const bool directory = opener.IsDirectory(path);
  std::string length = "-", method = directory ? "dir" : "file", size = "-", ratio = "-", crc = "-";
  if (facts != nullptr && !directory) {
    length = std::to_string(facts->uncompressed_size);
    method = MethodName(facts->method);
    size = std::to_string(facts->compressed_size);
    const uint64_t saved =
        facts->uncompressed_size == 0 || facts->compressed_size >= facts->uncompressed_size
            ? 0
            : 100 - facts->compressed_size * 100 / facts->uncompressed_size;
    ratio = std::to_string(saved) + "%";
    crc = Crc(*facts);
  } else if (!directory) {
    length = FormatSize(Describe(opener, path).size);
  }
  std::printf("%10s  %-8s %10s %4s  %-19s  %-8s  %s\n", length.c_str(), method.c_str(),
              size.c_str(), ratio.c_str(), FormatTime(opener.GetModifiedTime(path)).c_str(),
              crc.c_str(), shown.c_str());
}

void PrintField(const char* field, const std::string& value) {
  std::printf("%-11s %s\n", field, value.c_str());
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
  std::unique_ptr<MemberTable> table;
  std::string root;
  bool whole = true;
  if (!chain.nested() && container.IsDirectory(chain.path())) {
    root = Join(chain.path(), directory);
  } else {
    opener = chain.Load();
    if (opener == nullptr) return 1;
    whole = chain.ReadsWhole();
    if (options.Has('l')) table.reset(new MemberTable(chain));
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
  if (options.Has('l')) {
    std::printf("%10s  %-8s %10s %4s  %-19s  %-8s  %s\n", "Length", "Method", "Size", "Cmpr",
                "Modified", "CRC-32", "Name");
  }
  for (const std::string& name : names) {
    // Recursive names are relative to root; shown from the archive's root,
    // they are what cat takes.
    const std::string path = recursive ? Join(root, name) : name;
    const std::string shown = recursive ? Join(directory, name) : name;
    if (options.Has('l')) {
      PrintLong(*opener, table.get(), path, shown);
    } else {
      std::printf("%s\n", shown.c_str());
    }
  }
  return whole ? 0 : 1;
}

int RunStat(const Options& options) {
  ArchiveChain chain;
  if (!chain.OpenContainer(options.operands[0], options.via)) return 1;
  io::Opener* archive = chain.Load();
  if (archive == nullptr) return 1;
  const int status = chain.ReadsWhole() ? 0 : 1;
  if (options.operands.size() == 1) {
    std::vector<std::string> files;
    archive->ListFiles("", true, files);
    PrintInfo(chain.name(), "archive", Describe(chain.container(), chain.path()));
    PrintField("files:", std::to_string(files.size()));
    return status;
  }
  const std::string& member = options.operands[1];
  EntryInfo info = Describe(*archive, member);
  if (!info.exists) return Error("%s: no member %s", chain.name().c_str(), member.c_str());
  PrintInfo(member, info.directory ? "directory" : "file", info);
  std::string name;
  const MemberFacts* facts = nullptr;
  std::unique_ptr<MemberTable> table;
  if (!info.directory && archive->StandardizePath(member, name)) {
    table.reset(new MemberTable(chain));
    facts = table->Find(name);
  }
  PrintField("method:", facts ? MethodName(facts->method) : "-");
  PrintField("compressed:", facts ? std::to_string(facts->compressed_size) : "-");
  PrintField("CRC-32:", facts ? Crc(*facts) : "-");
  return status;
}

}  // namespace tool
