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
    {{"ls", "[-r] [-l] ARCHIVE [DIR]", "rl", false, 1, 2},
     "list the members of DIR (-r: every file below it, -l: size, time, kind);\n"
     "      a directory of the file system is listed like an archive",
     tool::RunLs},
    {{"cat", "ARCHIVE MEMBER...", "", false, 2, kAny},
     "write the members' bytes to standard output",
     tool::RunCat},
    {{"stat", "ARCHIVE [MEMBER]", "", false, 1, 2},
     "kind, size, modified time and method of a member or the archive",
     tool::RunStat},
    {{"extract", "ARCHIVE DEST", "", false, 2, 2},
     "write every file member below DEST; unsafe names are skipped",
     tool::RunExtract},
    {{"check", "ARCHIVE", "", false, 1, 1},
     "compare the central directory with what the library sees and reads;\n"
     "      exit status 1 when a member cannot be seen or read whole",
     tool::RunCheck},
    {{"pack", "DIR ARCHIVE [--store EXT,...]", "", true, 2, 2},
     "write an archive of DIR that the library reads completely; members\n"
     "      with the listed extensions are stored, the others deflated",
     tool::RunPack},
};

const char kCommonOptions[] =
    "Options of every command:\n"
    "  --via sys|cfile|mmap  back-end that reads the archive (default cfile)\n"
    "  -v                    also show the library's per-record scan lines\n"
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
    return 0;
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
      return 0;
    }
    tool::InstallLogSink(options.verbose);
    return command.run(options);
  }
  tool::Error("unknown command %s (see velmio --help)", args[0].c_str());
  return 2;
}
