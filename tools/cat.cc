// cat: members' bytes to standard output, unchanged.
#include <cstdio>
#include <memory>

#include "archive_chain.h"
#include "commands.h"
#include "console.h"
#include "input_reading.h"
#include "messages.h"

namespace tool {

int RunCat(const Options& options) {
  ArchiveChain chain;
  if (!chain.OpenContainer(options.operands[0], options.via)) return 1;
  velm::io::Opener* archive = chain.Load();
  if (archive == nullptr) return 1;
  int status = chain.ReadsWhole() ? 0 : 1;
  SetBinary(stdout);
  const char* name = chain.name().c_str();
  for (size_t i = 1; i < options.operands.size(); ++i) {
    const char* member = options.operands[i].c_str();
    std::unique_ptr<velm::io::Input> input(archive->OpenInput(member));
    if (!input) {
      status = archive->IsDirectory(member) ? Error("%s: %s is a directory", name, member)
               : archive->IsFile(member)    ? Error("%s: cannot read member %s", name, member)
                                            : Error("%s: no member %s", name, member);
      continue;
    }
    bool written = true;
    int64_t copied = ReadChunks(*input, [&written](const char* data, size_t size) {
      return written = std::fwrite(data, 1, size, stdout) == size;
    });
    // Standard output's error is told once, when the command ends.
    if (!written) return 1;
    if (copied != input->GetSize()) {
      status = Error("%s: %s: read %lld of %lld bytes", name, member,
                     static_cast<long long>(copied), static_cast<long long>(input->GetSize()));
    }
  }
  return status;
}

}  // namespace tool
