// UTF-16 on its way to and from the Windows calls.
#include <algorithm>

#include "platform/windows/wide_text.h"
#include "support/support.h"

namespace velm::platform::windows {
namespace {

using WCHAR = wchar_t;
using WideString = std::wstring;
constexpr WCHAR R = 0xFFFD;  // the replacement character

template <typename Text>
Text Repeat(const Text& piece, size_t count) { return count == 0 ? Text() : piece + Repeat(piece, count - 1); }

// The text, its terminator, the second NUL and where it lives.
void ExpectWide(const std::string& source, const WideString& expected) {
  WidePath wide(source.c_str());
  EXPECT_EQ(WideString(wide.text), expected);
  EXPECT_TRUE(wide.text[expected.size()] == 0 && wide.text[expected.size() + 1] == 0);
  EXPECT_EQ(wide.IsInline(), expected.size() <= 511) << expected.size();
}

void ExpectUtf8(const WideString& source, const std::string& expected) {
  Utf8Path utf8(source.c_str());
  EXPECT_EQ(std::string(utf8.text), expected);
  EXPECT_EQ(utf8.IsInline(), expected.size() <= 511) << expected.size();
}

TEST(WidePath, EveryLengthKeepsTheDoubleNulAndMovesToTheHeapBeyond511Units) {
  WidePath null_source(nullptr);
  EXPECT_TRUE(null_source.text[0] == 0 && null_source.text[1] == 0);
  for (size_t length = 0; length <= 1100; ++length) {
    ExpectWide(std::string(length, 'a'), WideString(length, WCHAR('a')));
  }
  // Units, not bytes, decide: é is 2 bytes and 1 unit, 😀 4 bytes and 2 units.
  for (size_t count : {511u, 512u, 513u}) ExpectWide(Repeat<std::string>("\xC3\xA9", count), WideString(count, 0xE9));
  for (size_t pairs : {255u, 256u}) {
    ExpectWide("a" + Repeat<std::string>("\xF0\x9F\x98\x80", pairs), WCHAR('a') + Repeat(WideString{0xD83D, 0xDE00}, pairs));
  }
  ExpectWide(std::string(600, 'x') + "\xFF", WideString(600, WCHAR('x')) + R);
}

TEST(Utf8Path, InlineUpTo511BytesThenHeap) {
  EXPECT_EQ(std::string(Utf8Path(nullptr).text), "");
  for (size_t length : {0u, 511u, 512u, 1100u}) ExpectUtf8(WideString(length, 'a'), std::string(length, 'a'));
  // 2-, 3- and 4-byte forms straddling the boundary by one ASCII byte.
  const struct { WideString unit; const char* bytes; size_t count; } forms[] = {
      {{0xE9}, "\xC3\xA9", 255}, {{0xE9}, "\xC3\xA9", 256},
      {{0x20AC}, "\xE2\x82\xAC", 170}, {{0x20AC}, "\xE2\x82\xAC", 171},
      {{0xD83D, 0xDE00}, "\xF0\x9F\x98\x80", 127}, {{0xD83D, 0xDE00}, "\xF0\x9F\x98\x80", 128}};
  for (const auto& form : forms) {
    ExpectUtf8(WCHAR('a') + Repeat(form.unit, form.count), "a" + Repeat<std::string>(form.bytes, form.count));
  }
}

// Malformed text is no error: each bad byte or unit becomes U+FFFD, and an
// overlong form never smuggles in a separator or a dot.
TEST(TextConversion, MalformedAndOverlongBecomeReplacementCharacters) {
  // How many replacements one bad sequence of 3 or 4 bytes gives is the
  // platform's own choice (Linux: one per byte, Windows fewer), so runs of them
  // count as one here; what follows a bad sequence must survive.
  const std::pair<std::string, WideString> utf8[] = {
      {"a\xFF" "b", {'a', R, 'b'}}, {"\xC3", {R}}, {"\xC3" "a", {R, 'a'}}, {"a\xC0\xAF" "b", {'a', R, 'b'}},
      {"\xC1\xAE.", {R, '.'}}, {"\xE0\x80\xAF", {R}}, {"\xF0\x80\x80\xAF/", {R, '/'}}, {"\xED\xA0\x80", {R}},
      {"\xF4\x90\x80\x80", {R}}, {"\xE2\x82", {R}}};
  for (const auto& [source, expected] : utf8) {
    WideString text = WidePath(source.c_str()).text;
    text.erase(std::unique(text.begin(), text.end(), [](WCHAR a, WCHAR b) { return a == R && b == R; }), text.end());
    EXPECT_EQ(text, expected) << source;
  }
  const std::pair<WideString, std::string> utf16[] = {
      {{'x', 0xD800, 'y'}, "x\xEF\xBF\xBDy"}, {{0xDC00}, "\xEF\xBF\xBD"}, {{'x', 0xDBFF}, "x\xEF\xBF\xBD"}};
  for (const auto& [source, expected] : utf16) ExpectUtf8(source, expected);
  EXPECT_EQ(platform::kPathSeparator, static_cast<char>(fs::path::preferred_separator));
}

}  // namespace
}  // namespace velm::platform::windows
