// StandardizePath of the OS back-ends on paths built from separators of both
// kinds, dots, multi-byte characters, raw bytes (NUL among them) and lengths
// around the 2047-byte limit. Reads the current directory and nothing else
// of the file system.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include <velm/io/opener>

#include "check.h"

namespace {

using velm::io::GetOpener;

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

bool IsValidUtf8(const std::string& text) {
  for (size_t i = 0; i < text.size();) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    size_t length = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
    if (c == 0 || length == 0 || (length == 2 && c < 0xC2) || i + length > text.size())
      return false;
    for (size_t k = 1; k < length; ++k)
      if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
    const unsigned char next = length > 1 ? text[i + 1] : 0;
    if ((c == 0xE0 && next < 0xA0) || (c == 0xED && next >= 0xA0) || (c == 0xF0 && next < 0x90) ||
        (c == 0xF4 && next >= 0x90) || c > 0xF4)
      return false;
    i += length;
  }
  return true;
}

// Lengths next to the limit of a result, in bytes.
constexpr size_t kTargets[] = {1, 2045, 2046, 2047, 2048, 2049};

// Turns fuzz bytes into a path; each byte chooses the next piece.
std::string BuildPath(const uint8_t* data, size_t size, size_t current_bytes) {
  std::string path;
  for (size_t i = 0; i < size; ++i) {
    const uint8_t op = data[i];
    const uint8_t arg = i + 1 < size ? data[i + 1] : 0;
    switch (op % 12) {
      case 0:
        path += '/';
        break;
      case 1:
        path += '\\';
        break;
      case 2:
        path += '.';
        break;
      case 3:
        path += "..";
        break;
      case 4:
        path += "...";
        break;
      case 5:
        path.append(1 + arg % 16, static_cast<char>('a' + arg % 26));
        ++i;
        break;
      case 6:
        path += "\xC3\xA9";
        break;
      case 7:
        path += "\xF0\x9F\x98\x80";
        break;
      case 8:
        path += "\xFF";
        break;  // no UTF-8; Linux names may hold it
      case 9: {
        // Pads to a target length of the path itself or of its joined form.
        size_t target = kTargets[arg % std::size(kTargets)];
        const bool joined =
            (arg / std::size(kTargets)) % 2 == 1 && !path.empty() && !IsSeparator(path[0]);
        if (joined) target = target > current_bytes + 1 ? target - current_bytes - 1 : 0;
        if (target > path.size()) path.append(target - path.size(), 'p');
        ++i;
        break;
      }
      case 10:
        path += static_cast<char>(arg);
        ++i;
        break;
      default:
        path += IsSeparator(static_cast<char>(arg)) ? "//" : "\\\\";
        ++i;
        break;
    }
  }
  return path;
}

void CheckAbsolute(const std::string& path) {
  FUZZ_CHECK(!path.empty() && IsSeparator(path[0]));
  FUZZ_CHECK(path.find('\0') == std::string::npos);
  FUZZ_CHECK(path.size() <= 2047);
  if (path.size() > 1) FUZZ_CHECK(!IsSeparator(path.back()));
  size_t begin = 1;
  while (begin < path.size()) {
    size_t end = begin;
    while (end < path.size() && !IsSeparator(path[end])) ++end;
    const std::string component = path.substr(begin, end - begin);
    FUZZ_CHECK(!component.empty() && component != "." && component != "..");
    begin = end + 1;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string kCurrent = std::filesystem::current_path().string();

  if (size == 0) return 0;
  // The first byte chooses between raw bytes and a built path.
  const std::string path = data[0] % 4 == 0
                               ? std::string(reinterpret_cast<const char*>(data + 1), size - 1)
                               : BuildPath(data + 1, size - 1, kCurrent.size());

  velm::io::Opener* sys = GetOpener(velm::io::OpenerTypeSys);
  const std::string previous = "\x01previous";
  std::string out = previous;
  const bool ok = sys->StandardizePath(path, out);

  // A NUL is refused; every other result that fits is given, measured
  // before "." and ".." go. Bytes pass as they are.
  const bool relative = path.empty() || !IsSeparator(path[0]);
  if (path.find('\0') != std::string::npos) {
    FUZZ_CHECK(!ok);
  } else if (path.size() + (relative ? kCurrent.size() + 1 : 0) <= 2047) {
    FUZZ_CHECK(ok);
  }
  for (auto type : {velm::io::OpenerTypeCFile, velm::io::OpenerTypeMMap}) {
    std::string other = previous;
    FUZZ_CHECK(GetOpener(type)->StandardizePath(path, other) == ok);
    FUZZ_CHECK(other == out);
  }
  if (!ok) {
    FUZZ_CHECK(out == previous);
    return 0;
  }
  CheckAbsolute(out);
  if (IsValidUtf8(path)) FUZZ_CHECK(IsValidUtf8(out));
  std::string again = previous;
  FUZZ_CHECK(sys->StandardizePath(out, again));
  FUZZ_CHECK(again == out);
  return 0;
}
