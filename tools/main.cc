// velmio: lists, prints, checks, extracts and packs zip archives through the
// library's public interface, as any host would.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "commands.h"
#include "messages.h"
#include "options.h"

namespace {

using tool::Options;

struct Command {
  tool::CommandSyntax syntax;
  const char* summary;
  int (*run)(const Options&);
};

constexpr size_t kAny = static_cast<size_t>(-1);

const Command kCommands[] = {
    {{"ls", "[-r] [-l] ARCHIVE [DIR]", "rl", "", 1, 2},
     "list the members of DIR (-r: every file below it, by the name that cat\n"
     "      takes; -l: size, method, compressed size, ratio, time and CRC-32);\n"
     "      a directory of the file system is listed like an archive",
     tool::RunLs},
    {{"cat", "ARCHIVE MEMBER...", "", "", 2, kAny},
     "write the members' bytes to standard output",
     tool::RunCat},
    {{"stat", "ARCHIVE [MEMBER]", "", "", 1, 2},
     "kind, sizes, modified time, method and CRC-32 of a member or the archive",
     tool::RunStat},
    {{"extract", "ARCHIVE DEST [MEMBER|PATTERN...] [--keep|--overwrite]", "", "keep,overwrite", 2,
      kAny},
     "write the file members (those named, or matching a pattern with * and ?)\n"
     "      and the directories below DEST, with their times, checking each CRC-32;\n"
     "      unsafe names are skipped; existing files are kept unless --overwrite",
     tool::RunExtract},
    {{"check", "ARCHIVE", "", "", 1, 1},
     "the gate of an asset pipeline: exit status 1 when the engine, which reads\n"
     "      the local headers, and tools that read the central directory would see\n"
     "      the archive differently, or a member cannot be read whole",
     tool::RunCheck},
    {{"pack", "DIR ARCHIVE [--store EXT,...] [--level N]", "", "store=,level=", 2, 2},
     "write an archive of DIR that the library reads completely, on every core;\n"
     "      members with the listed extensions are stored, the others deflated at\n"
     "      level N (0-12 with libdeflate, 0-9 with zlib; default 6); symbolic\n"
     "      links are skipped",
     tool::RunPack},
};

const char kCommonOptions[] =
    "Options of every command:\n"
    "  --via sys|cfile|mmap  back-end that reads the archive (default cfile)\n"
    "  -v                    also show the library's per-record scan lines\n"
    "  --version             show the tool's version\n"
    "  -h, --help            show this help\n"
    "ARCHIVE::INNER names an archive inside an archive, at any depth.\n"
    "Exit status: 0 done, 1 not found or unreadable, 2 usage error.\n";

void PrintUsage(std::FILE* out) {
  std::fprintf(out, "usage: velmio COMMAND [OPTIONS] ARGUMENTS\n\nCommands:\n");
  for (const Command& command : kCommands) {
    std::fprintf(out, "  %s %s\n      %s\n", command.syntax.name, command.syntax.operands,
                 command.summary);
  }
  std::fprintf(out, "\n%s", kCommonOptions);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  if (args.empty()) {
    PrintUsage(stderr);
    return 2;
  }
  if (args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
    PrintUsage(stdout);
    return tool::FinishOutput(0);
  }
  if (args[0] == "--version") {
    std::printf("velmio %s\n", VELMIO_TOOL_VERSION);
    return tool::FinishOutput(0);
  }
  for (const Command& command : kCommands) {
    if (args[0] != command.syntax.name) continue;
    Options options;
    if (!tool::ParseOptions(command.syntax, {args.begin() + 1, args.end()}, options)) {
      return 2;
    }
    if (options.help) {
      std::printf("usage: velmio %s %s\n      %s\n\n%s", command.syntax.name,
                  command.syntax.operands, command.summary, kCommonOptions);
      return tool::FinishOutput(0);
    }
    tool::InstallLogSink(options.verbose);
    return tool::FinishOutput(command.run(options));
  }
  tool::Error("unknown command %s (see velmio --help)", args[0].c_str());
  return 2;
}
