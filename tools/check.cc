// check: the gate of an asset pipeline. The engine reads an archive by its
// local headers, the tools that build, review and scan archives read the
// central directory; an archive passes only where both see the same members
// with the same bytes, and the library reads each of them whole.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "archive_chain.h"
#include "central_directory.h"
#include "commands.h"
#include "differentials.h"
#include "input_reading.h"
#include "member_name.h"
#include "messages.h"
#include "zip/zip_format.h"

namespace tool {
namespace {

namespace io = velm::io;
namespace zip = velm::zip;

std::string Bytes(uint64_t count) { return std::to_string(count) + " bytes"; }

// Opens and reads the member whole through the library, as the engine would.
void ReadThroughLibrary(io::Opener& archive, const CentralEntry& entry, Findings& findings) {
  const std::string subject = Printable(entry.name);
  if (entry.flags & zip::kFlagEncrypted) {
    findings.Refuse(subject, "encrypted: the library cannot read it");
    return;
  }
  if (entry.method != zip::kMethodStored && entry.method != zip::kMethodDeflated) {
    findings.Refuse(subject, "method " + std::to_string(entry.method) +
                                 ": the library reads only "
                                 "0 and 8");
    return;
  }
  std::unique_ptr<io::Input> input(archive.OpenInput(entry.name));
  if (!input) {
    findings.Refuse(subject, "the library cannot open it");
    return;
  }
  uint32_t crc = 0;
  int64_t count = ReadChunksSummed(
      *input, [](const char*, size_t) { return true; }, crc);
  if (count < 0 || static_cast<uint64_t>(count) != entry.uncompressed_size) {
    findings.Refuse(subject, "the library reads " + std::to_string(count < 0 ? 0 : count) +
                                 " of its " + Bytes(entry.uncompressed_size));
  } else if (crc != entry.crc32) {
    findings.Refuse(subject, "the library reads other bytes: the CRC-32 does not match");
  }
}

}  // namespace

int RunCheck(const Options& options) {
  ArchiveChain chain;
  if (!chain.OpenContainer(options.operands[0], options.via)) return 1;
  const std::string& name = chain.name();
  std::unique_ptr<io::Input> file(chain.container().OpenInput(chain.path()));
  if (!file) return Error("%s: cannot be opened", name.c_str());
  CentralDirectory directory;
  std::string error;
  if (!ReadCentralDirectory(*file, directory, error)) {
    return Error("%s: %s", name.c_str(), error.c_str());
  }
  // An archive the library finds nothing in still has its members compared.
  io::Opener* archive = chain.Load();
  Findings findings;
  std::vector<bool> seen;
  FindDifferentials(*file, name, directory, chain.walk(), seen, findings);
  for (size_t i = 0; i < directory.entries.size(); ++i) {
    // A name with a NUL is never seen: the library knows it shorter.
    const std::string& member = directory.entries[i].name;
    if (archive != nullptr && seen[i] && !member.empty() && member.back() != '/' &&
        IsReachableName(member)) {
      ReadThroughLibrary(*archive, directory.entries[i], findings);
    }
  }
  for (const std::string& line : findings.lines()) std::printf("%s\n", line.c_str());
  std::printf("%s: %zu members, %zu problems, %zu warnings\n", name.c_str(),
              directory.entries.size(), findings.refusals(), findings.warnings());
  return findings.refusals() == 0 ? 0 : 1;
}

}  // namespace tool
