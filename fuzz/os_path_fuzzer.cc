// StandardizePath of the OS back-ends on paths built from separators of both
// kinds, dots, multi-unit characters, raw bytes and lengths around the
// 512-unit inline buffer and the 2048-unit limit. Reads the current directory
// and nothing else of the file system.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include <velm/io/opener>

#include "check.h"

namespace {

using velm::io::GetOpener;

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

// UTF-16 units of valid UTF-8 text: one per sequence, two for four bytes.
size_t Units(const std::string& text) {
  size_t units = 0;
  for (unsigned char c : text) {
    if ((c & 0xC0) != 0x80) ++units;
    if (c >= 0xF0) ++units;
  }
  return units;
}

bool IsValidUtf8(const std::string& text) {
  for (size_t i = 0; i < text.size();) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    size_t length = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3
                  : (c >> 3) == 30 ? 4 : 0;
    if (c == 0 || length == 0 || (length == 2 && c < 0xC2) ||
        i + length > text.size())
      return false;
    for (size_t k = 1; k < length; ++k)
      if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
    const unsigned char next = length > 1 ? text[i + 1] : 0;
    if ((c == 0xE0 && next < 0xA0) || (c == 0xED && next >= 0xA0) ||
        (c == 0xF0 && next < 0x90) || (c == 0xF4 && next >= 0x90) || c > 0xF4)
      return false;
    i += length;
  }
  return true;
}

// Lengths next to the inline buffer of a converted path and the limit of a
// result, in units.
constexpr size_t kTargets[] = {510, 511, 512, 513, 2045, 2046, 2047, 2048, 2049};

// Turns fuzz bytes into a path; each byte chooses the next piece.
std::string BuildPath(const uint8_t* data, size_t size, size_t current_units) {
  std::string path;
  for (size_t i = 0; i < size; ++i) {
    const uint8_t op = data[i];
    const uint8_t arg = i + 1 < size ? data[i + 1] : 0;
    switch (op % 12) {
      case 0: path += '/'; break;
      case 1: path += '\\'; break;
      case 2: path += '.'; break;
      case 3: path += ".."; break;
      case 4: path += "..."; break;
      case 5: path.append(1 + arg % 16, static_cast<char>('a' + arg % 26)); ++i; break;
      case 6: path += "\xC3\xA9"; break;            // one unit, two bytes
      case 7: path += "\xF0\x9F\x98\x80"; break;    // two units, four bytes
      case 8: path += "\xE2\x82\xAC"; break;        // one unit, three bytes
      case 9: {
        // Pads to a target length of the path itself or of its joined form.
        size_t target = kTargets[arg % std::size(kTargets)];
        const bool joined = (arg / std::size(kTargets)) % 2 == 1 &&
                            !path.empty() && !IsSeparator(path[0]);
        if (joined) target = target > current_units + 1 ? target - current_units - 1 : 0;
        const size_t units = Units(path);
        if (target > units) path.append(target - units, 'p');
        ++i;
        break;
      }
      case 10: path += static_cast<char>(arg); ++i; break;
      default: path += IsSeparator(static_cast<char>(arg)) ? "//" : "\\\\"; ++i; break;
    }
  }
  return path;
}

void CheckAbsolute(const std::string& path) {
  FUZZ_CHECK(!path.empty() && IsSeparator(path[0]));
  FUZZ_CHECK(IsValidUtf8(path));
  FUZZ_CHECK(Units(path) <= 2047);
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
  static const size_t kCurrentUnits = Units(kCurrent);
  if (size == 0) return 0;
  // The first byte chooses between raw bytes and a built path.
  const std::string path =
      data[0] % 4 == 0
          ? std::string(reinterpret_cast<const char*>(data + 1), size - 1)
          : BuildPath(data + 1, size - 1, kCurrentUnits);

  velm::io::Opener* sys = GetOpener(velm::io::OpenerTypeSys);
  const std::string previous = "\x01previous";
  std::string out = previous;
  const bool ok = sys->StandardizePath(path, out);

  // Every result that fits is given, measured before "." and ".." go.
  if (IsValidUtf8(path)) {
    const bool relative = path.empty() || !IsSeparator(path[0]);
    const size_t units = Units(path) + (relative ? kCurrentUnits + 1 : 0);
    if (units <= 2047) FUZZ_CHECK(ok);
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
  std::string again = previous;
  FUZZ_CHECK(sys->StandardizePath(out, again));
  FUZZ_CHECK(again == out);
  return 0;
}
