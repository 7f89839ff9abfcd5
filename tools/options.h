// The command line of one subcommand: its flags, --via, its own long options
// and its operands.
#ifndef VELMIO_TOOLS_OPTIONS_H_
#define VELMIO_TOOLS_OPTIONS_H_

#include <cstddef>
#include <string>
#include <vector>

#include <velm/io/opener>

namespace tool {

struct Options {
  std::vector<std::string> operands;
  std::string flags;  // the single-letter flags given, such as "rl"
  velm::io::OpenerType via = velm::io::OpenerTypeCFile;
  std::vector<std::string> store;     // extensions from --store, without dots
  int level = -1;                     // from --level, -1 when not given
  std::vector<std::string> switches;  // long options without a value, "--" dropped
  bool verbose = false;
  bool help = false;

  bool Has(char flag) const { return flags.find(flag) != std::string::npos; }
  bool Has(const std::string& name) const;
};

struct CommandSyntax {
  const char* name;
  const char* operands;  // usage text behind the name
  const char* flags;     // letters accepted besides -v
  const char* options;   // long options besides --via, such as "store=,keep"
  size_t min_operands;
  size_t max_operands;
};

// Parses args (what follows the subcommand). False after one error line.
bool ParseOptions(const CommandSyntax& syntax, const std::vector<std::string>& args,
                  Options& options);

}  // namespace tool

#endif  // VELMIO_TOOLS_OPTIONS_H_
