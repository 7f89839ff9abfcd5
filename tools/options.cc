#include "options.h"

#include <algorithm>
#include <cstdlib>

#include "member_compressor.h"
#include "messages.h"

namespace tool {
namespace {

namespace io = velm::io;

bool ParseBackEnd(const std::string& name, io::OpenerType& type) {
  if (name == "sys")
    type = io::OpenerTypeSys;
  else if (name == "cfile")
    type = io::OpenerTypeCFile;
  else if (name == "mmap")
    type = io::OpenerTypeMMap;
  else
    return false;
  return true;
}

std::vector<std::string> SplitList(const std::string& text) {
  std::vector<std::string> items;
  std::string::size_type start = 0;
  while (start <= text.size()) {
    std::string::size_type comma = text.find(',', start);
    if (comma == std::string::npos) comma = text.size();
    std::string item = text.substr(start, comma - start);
    if (!item.empty() && item[0] == '.') item.erase(0, 1);
    if (!item.empty()) items.push_back(item);
    start = comma + 1;
  }
  return items;
}

// Whether "name=" (a value follows) or "name" is among the syntax's options.
bool Accepts(const CommandSyntax& syntax, const std::string& name, bool with_value) {
  for (const std::string& option : SplitList(syntax.options)) {
    if (option == name + (with_value ? "=" : "")) return true;
  }
  return false;
}

bool UsageError(const CommandSyntax& syntax, const std::string& what) {
  Error("%s: %s (see velmio %s --help)", syntax.name, what.c_str(), syntax.name);
  return false;
}

}  // namespace

bool Options::Has(const std::string& name) const {
  return std::find(switches.begin(), switches.end(), name) != switches.end();
}

bool ParseOptions(const CommandSyntax& syntax, const std::vector<std::string>& args,
                  Options& options) {
  bool only_operands = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (only_operands || arg.size() < 2 || arg[0] != '-') {
      options.operands.push_back(arg);
      continue;
    }
    if (arg == "--") {
      only_operands = true;
      continue;
    }
    if (arg == "--help" || arg == "-h") {
      options.help = true;
      return true;
    }
    std::string name = arg;
    std::string value;
    bool has_value = false;
    std::string::size_type equals = arg.find('=');
    if (arg.compare(0, 2, "--") == 0 && equals != std::string::npos) {
      name = arg.substr(0, equals);
      value = arg.substr(equals + 1);
      has_value = true;
    }
    const std::string bare = name.compare(0, 2, "--") == 0 ? name.substr(2) : "";
    if (!has_value && Accepts(syntax, bare, false)) {
      options.switches.push_back(bare);
      continue;
    }
    if (bare == "via" || Accepts(syntax, bare, true)) {
      if (!has_value) {
        if (i + 1 == args.size()) return UsageError(syntax, name + " needs a value");
        value = args[++i];
      }
      if (bare == "store") {
        options.store = SplitList(value);
      } else if (bare == "level") {
        char* end = nullptr;
        const long level = std::strtol(value.c_str(), &end, 10);
        if (value.empty() || *end != '\0' || level < 0 || level > MaxCompressionLevel()) {
          return UsageError(syntax, "--level takes 0 to " + std::to_string(MaxCompressionLevel()) +
                                        ", not " + value);
        }
        options.level = static_cast<int>(level);
      } else if (!ParseBackEnd(value, options.via)) {
        return UsageError(syntax, "--via takes sys, cfile or mmap, not " + value);
      }
      continue;
    }
    if (arg.compare(0, 2, "--") == 0) return UsageError(syntax, "unknown option " + arg);
    for (char flag : arg.substr(1)) {
      if (flag == 'v') {
        options.verbose = true;
      } else if (std::string(syntax.flags).find(flag) != std::string::npos) {
        options.flags += flag;
      } else {
        return UsageError(syntax, std::string("unknown option -") + flag);
      }
    }
  }
  if (options.operands.size() < syntax.min_operands) {
    return UsageError(syntax, "missing operand");
  }
  if (options.operands.size() > syntax.max_operands) {
    return UsageError(syntax, "too many operands");
  }
  return true;
}

}  // namespace tool
