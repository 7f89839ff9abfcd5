#include "core/standardize_path.h"

#include <velm/io/path>

namespace velm::io {
namespace {

bool IsRejected(unsigned char byte) {
  switch (byte) {
    case 0x09:
    case 0x0A:
    case 0x0D:
    case 0x20:
    case 0x22:
    case 0x27:
    case 0x3A:
    case 0x3C:
    case 0x3E:
      return true;
    default:
      return false;
  }
}

// Applies one component; false only for ".." with nothing left to remove.
// A lone "." vanishes inside the path but is kept as the last component.
bool Apply(std::string& current, bool last, std::vector<std::string>& tokens) {
  if (current == "..") {
    if (tokens.empty()) return false;
    tokens.pop_back();
  } else if (!current.empty() && (last || current != ".")) {
    tokens.push_back(std::move(current));
  }
  current.clear();
  return true;
}

}  // namespace

bool TokenizePathASCII(const std::string& in, std::vector<std::string>& tokens) {
  tokens.clear();
  std::string current;
  for (char c : in) {
    unsigned char byte = static_cast<unsigned char>(c);
    if (IsRejected(byte)) return false;
    if (byte == '/' || byte == '\\') {
      if (!Apply(current, false, tokens)) return false;
    } else {
      current.push_back(c);
    }
  }
  return Apply(current, true, tokens);
}

bool StandardizePathASCII(const std::string& in, std::string& out) {
  std::vector<std::string> tokens;
  if (!TokenizePathASCII(in, tokens)) return false;
  std::string joined;
  for (size_t i = 0; i < tokens.size(); ++i) {
    if (i != 0) joined.push_back('/');
    joined += tokens[i];
  }
  out = std::move(joined);
  return true;
}

}  // namespace velm::io
