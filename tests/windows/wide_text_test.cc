// UTF-16 on its way to and from the Windows calls.
#include <algorithm>

#include "platform/windows/wide_text.h"
#include "support/support.h"

namespace velm::platform::windows {
namespace {

constexpr wchar_t R = 0xFFFD;  // the replacement character

// Units, not bytes, decide where the text leaves the object: é is 2 bytes and
// 1 unit, 😀 4 bytes and 2 units. A second NUL stands behind every WidePath.
TEST(WideText, InlineUpTo511UnitsThenHeapNeverCut) {
  const struct {
    std::string utf8;
    size_t units;
  } texts[] = {{"", 0},
               {std::string(511, 'a'), 511},
               {std::string(512, 'a'), 512},
               {std::string(1100, 'a'), 1100}};
  for (const auto& [utf8, units] : texts) {
    WidePath wide(utf8);
    EXPECT_EQ(std::wstring(wide.text).size(), units);
    EXPECT_EQ(wide.text[units + 1], 0);
    EXPECT_EQ(wide.IsInline(), units <= 511);
    Utf8Path back(wide.text);
    EXPECT_EQ(std::string(back.text), utf8);
    EXPECT_EQ(back.IsInline(), utf8.size() <= 511);
  }
  std::string e, smile;
  for (int i = 0; i < 512; ++i) e += "\xC3\xA9";
  for (int i = 0; i < 256; ++i) smile += "\xF0\x9F\x98\x80";
  EXPECT_FALSE(WidePath(e).IsInline());
  EXPECT_FALSE(WidePath(smile).IsInline());
  EXPECT_TRUE(WidePath(e.substr(2)).IsInline());
  EXPECT_TRUE(WidePath(std::string(std::string("a\0b", 3))).IsRefused());
  EXPECT_EQ(WidePath(nullptr).text[1], 0);
}

// Malformed text is no error: it becomes U+FFFD, and an overlong form never
// smuggles in a separator or a dot. How many replacements one bad sequence
// gives is the system's own choice, so runs of them count as one.
TEST(WideText, MalformedBecomesReplacementCharacters) {
  const std::pair<std::string, std::wstring> cases[] = {
      {"a\xFF" "b", {'a', R, 'b'}},    {"\xC3" "a", {R, 'a'}},  {"a\xC0\xAF" "b", {'a', R, 'b'}},
      {"\xC1\xAE.", {R, '.'}},         {"\xE0\x80\xAF", {R}},   {"\xF0\x80\x80\xAF/", {R, '/'}},
      {"\xED\xA0\x80", {R}},           {"\xF4\x90\x80\x80", {R}}};
  for (const auto& [source, expected] : cases) {
    std::wstring text = WidePath(source).text;
    text.erase(std::unique(text.begin(), text.end(),
                           [](wchar_t a, wchar_t b) { return a == R && b == R; }),
               text.end());
    EXPECT_EQ(text, expected) << source;
  }
  EXPECT_EQ(std::string(Utf8Path(std::wstring{'x', 0xD800, 'y'}).text), "x\xEF\xBF\xBDy");
}

}  // namespace
}  // namespace velm::platform::windows
