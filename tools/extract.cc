// extract: file members and directories written below DEST through the
// descriptor back-end. Only names that are their own standardised form are
// written: they have no "..", no leading "/", no backslash and no refused
// byte, so that nothing lands outside DEST.
#include <memory>
#include <string>
#include <vector>

#include "archive_chain.h"
#include "commands.h"
#include "console.h"
#include "file_attributes.h"
#include "input_reading.h"
#include "member_facts.h"
#include "member_name.h"
#include "messages.h"
#include "progress.h"

namespace tool {
namespace {

namespace io = velm::io;

// The path is made absolute first: on Windows that also gives it one kind of
// separator throughout.
bool EnsureDirectory(io::Opener& sys, const std::string& path) {
  std::string absolute;
  return sys.StandardizePath(path, absolute) &&
         (sys.IsDirectory(absolute) || sys.CreateDirectories(absolute));
}

bool Failed(const std::string& name, const char* why) {
  Error("%s: %s", name.c_str(), why);
  return false;
}

// The member's time onto path; one without a time keeps that of its writing.
void KeepTime(io::Opener& archive, const std::string& name, const std::string& path) {
  const int64_t seconds = archive.GetModifiedTime(name);
  if (seconds >= 0) SetModifiedTime(path, seconds);
}

// * stands for any run of characters, "/" included, ? for one.
bool Matches(const char* pattern, const char* name) {
  for (; *pattern != '\0'; ++pattern, ++name) {
    if (*pattern == '*') {
      for (const char* rest = name;; ++rest) {
        if (Matches(pattern + 1, rest)) return true;
        if (*rest == '\0') return false;
      }
    }
    if (*name == '\0' || (*pattern != '?' && *pattern != *name)) return false;
  }
  return *name == '\0';
}

// The members that the operands behind DEST pick, all of them without any;
// false after an error line for each operand that picks nothing.
bool Pick(const std::vector<std::string>& operands, const std::vector<std::string>& names,
          std::vector<std::string>& picked) {
  if (operands.size() <= 2) {
    picked = names;
    return true;
  }
  std::vector<bool> taken(names.size()), used(operands.size());
  for (size_t i = 0; i < names.size(); ++i) {
    for (size_t p = 2; p < operands.size(); ++p) {
      if (!Matches(operands[p].c_str(), names[i].c_str())) continue;
      used[p] = true;
      if (!taken[i]) picked.push_back(names[i]);
      taken[i] = true;
    }
  }
  bool all_used = true;
  for (size_t p = 2; p < operands.size(); ++p) {
    if (used[p]) continue;
    Failed(operands[p], "no member has this name or matches it");
    all_used = false;
  }
  return all_used;
}

// Copies one member to target and checks its CRC-32. The member is opened
// before anything is created for it, and a copy that falls short or differs
// is removed again.
bool ExtractMember(io::Opener& archive, io::Opener& sys, const MemberTable& table,
                   const std::string& name, const std::string& target, Progress& progress) {
  std::unique_ptr<io::Input> input(archive.OpenInput(name));
  if (!input) return Failed(name, "cannot be read");
  if (!EnsureDirectory(sys, target.substr(0, target.rfind('/')))) {
    return Failed(name, "cannot create its directory");
  }
  std::unique_ptr<io::Output> output(sys.OpenOutput(target));
  if (!output) return Failed(name, "cannot create the file");
  uint32_t crc = 0;
  int64_t copied = ReadChunksSummed(
      *input,
      [&](const char* data, size_t size) {
        progress.AddBytes(size);
        return output->Write(data, size) == static_cast<int64_t>(size);
      },
      crc);
  output->Close();
  const MemberFacts* facts = table.Find(name);
  const char* fault = copied != input->GetSize() ? "read or write failed, nothing kept"
                      : facts && facts->crc_known && facts->crc32 != crc
                          ? "CRC-32 mismatch, nothing kept"
                          : nullptr;
  if (fault != nullptr) {
    sys.RemoveFile(target);
    return Failed(name, fault);
  }
  KeepTime(archive, name, target);
  return true;
}

}  // namespace

int RunExtract(const Options& options) {
  if (options.Has("keep") && options.Has("overwrite")) {
    return Error("extract: --keep and --overwrite exclude each other");
  }
  ArchiveChain chain;
  if (!chain.OpenContainer(options.operands[0], options.via)) return 1;
  io::Opener* archive = chain.Load();
  if (archive == nullptr) return 1;
  const bool whole = chain.ReadsWhole();
  io::Opener& sys = *io::GetOpener(io::OpenerTypeSys);
  std::string destination;
  if (!sys.StandardizePath(options.operands[1], destination) ||
      !EnsureDirectory(sys, destination)) {
    return Error("%s: cannot create the directory", options.operands[1].c_str());
  }
  // Directories come from their own records; files from the library's list.
  std::vector<std::string> members, picked;
  for (const WalkRecord& record : chain.walk().records) {
    if (!record.name.empty() && record.name.back() == '/') members.push_back(record.name);
  }
  archive->ListFiles("", true, members);
  bool all_picked = Pick(options.operands, members, picked);
  std::vector<std::string> files, directories;
  size_t unsafe = 0, kept = 0;
  for (const std::string& name : picked) {
    if (!IsReachableName(name)) {
      Warning("skipping %s: no standardised path reaches it", name.c_str());
      ++unsafe;
    } else if (name.back() == '/') {
      directories.push_back(name);
    } else if (!options.Has("overwrite") && sys.IsFile(destination + "/" + name)) {
      Warning("keeping the existing %s (--overwrite replaces it)", name.c_str());
      ++kept;
    } else {
      files.push_back(name);
    }
  }
  MemberTable table(chain);
  Progress progress("extracted", files.size(), IsTerminal(stderr));
  size_t failed = 0;
  for (const std::string& name : files) {
    if (!ExtractMember(*archive, sys, table, name, destination + "/" + name, progress)) ++failed;
    progress.MemberDone();
  }
  // Last, since writing the files below them changes their times.
  for (const std::string& name : directories) {
    const std::string path = destination + "/" + name.substr(0, name.size() - 1);
    if (!EnsureDirectory(sys, path)) {
      ++failed;
      Failed(name, "cannot create the directory");
    } else {
      KeepTime(*archive, name, path);
    }
  }
  progress.Finish(failed, unsafe + kept);
  return failed == 0 && unsafe == 0 && whole && all_picked ? 0 : 1;
}

}  // namespace tool
