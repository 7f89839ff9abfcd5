// extract: every file member written below DEST through the descriptor
// back-end. Only names that are their own standardised form are written: they
// have no "..", no leading "/", no backslash and no refused byte, so that
// nothing lands outside DEST.
#include <memory>
#include <string>
#include <vector>

#include "archive_chain.h"
#include "commands.h"
#include "console.h"
#include "input_reading.h"
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

// Copies one member to target. The member is opened before anything is
// created for it, and a copy that falls short is removed again.
bool ExtractMember(io::Opener& archive, io::Opener& sys, const std::string& name,
                   const std::string& target, Progress& progress) {
  std::unique_ptr<io::Input> input(archive.OpenInput(name));
  if (!input) return Failed(name, "cannot be read");
  if (!EnsureDirectory(sys, target.substr(0, target.rfind('/')))) {
    return Failed(name, "cannot create its directory");
  }
  std::unique_ptr<io::Output> output(sys.OpenOutput(target));
  if (!output) return Failed(name, "cannot create the file");
  int64_t copied = ReadChunks(*input, [&](const char* data, size_t size) {
    progress.AddBytes(size);
    return output->Write(data, size) == static_cast<int64_t>(size);
  });
  output->Close();
  if (copied == input->GetSize()) return true;
  sys.RemoveFile(target);
  return Failed(name, "read or write failed, nothing kept");
}

}  // namespace

int RunExtract(const Options& options) {
  ArchiveChain chain;
  if (!chain.OpenContainer(options.operands[0], options.via)) return 1;
  io::Opener* archive = chain.Load();
  if (archive == nullptr) return 1;
  io::Opener& sys = *io::GetOpener(io::OpenerTypeSys);
  std::string destination;
  if (!sys.StandardizePath(options.operands[1], destination) ||
      !EnsureDirectory(sys, destination)) {
    return Error("%s: cannot create the directory", options.operands[1].c_str());
  }
  std::vector<std::string> listed;
  std::vector<std::string> names;
  archive->ListFiles("", true, listed);
  for (const std::string& name : listed) {
    if (IsReachableName(name)) {
      names.push_back(name);
    } else {
      Warning("skipping %s: no standardised path reaches it", name.c_str());
    }
  }
  Progress progress(names.size(), IsTerminal(stderr));
  size_t failed = 0;
  for (const std::string& name : names) {
    if (!ExtractMember(*archive, sys, name, destination + "/" + name, progress)) ++failed;
    progress.MemberDone();
  }
  progress.Finish(failed, listed.size() - names.size());
  return failed == 0 && names.size() == listed.size() ? 0 : 1;
}

}  // namespace tool
