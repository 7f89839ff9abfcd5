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
  SetBinary(stdout);
  int status = 0;
  for (size_t i = 1; i < options.operands.size(); ++i) {
    const char* member = options.operands[i].c_str();
    std::unique_ptr<velm::io::Input> input(archive->OpenInput(member));
    if (!input) {
      status = Error("%s: %s %s", chain.name().c_str(),
                     archive->IsFile(member) ? "cannot read member" : "no member", member);
      continue;
    }
    int64_t copied = ReadChunks(*input, [](const char* data, size_t size) {
      return std::fwrite(data, 1, size, stdout) == size;
    });
    if (copied != input->GetSize()) {
      status = Error("%s: %s: read %lld of %lld bytes", chain.name().c_str(), member,
                     static_cast<long long>(copied), static_cast<long long>(input->GetSize()));
    }
  }
  return std::fflush(stdout) == 0 ? status : Error("cannot write standard output");
}

}  // namespace tool
