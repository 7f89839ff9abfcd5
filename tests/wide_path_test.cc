#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "os/utf8_path.h"
#include "os/wide_path.h"
#include "platform/platform.h"

namespace velm::io {
namespace {

using platform::WCHAR;
using platform::WideString;

// Checks the text, its terminator, the second NUL and where it lives.
void ExpectWide(const std::string& source, const WideString& expected) {
  WidePath wide(source.c_str());
  size_t length = expected.size();
  EXPECT_EQ(WideString(wide.text), expected);
  EXPECT_EQ(wide.text[length], 0);
  EXPECT_EQ(wide.text[length + 1], 0);
  EXPECT_EQ(wide.text == wide.buffer, length <= 511) << length << " units";
}

void ExpectUtf8(const WideString& source, const std::string& expected) {
  Utf8Path utf8(source.c_str());
  EXPECT_EQ(std::string(utf8.text), expected);
  EXPECT_EQ(utf8.text == utf8.buffer, expected.size() <= 511)
      << expected.size() << " bytes";
}

template <typename Text>
Text Repeat(const Text& piece, size_t count) {
  Text out;
  for (size_t i = 0; i < count; ++i) out += piece;
  return out;
}

TEST(WidePath, EveryLengthKeepsTheDoubleNulAndMovesToTheHeapBeyond511) {
  WidePath null_source(nullptr);
  EXPECT_EQ(null_source.text[0], 0);
  EXPECT_EQ(null_source.text[1], 0);
  for (size_t length = 0; length <= 1100; ++length) {
    ExpectWide(std::string(length, 'a'), WideString(length, WCHAR('a')));
  }
  // Units, not bytes, decide: é is 2 bytes and 1 unit, 😀 is 4 bytes, 2 units.
  for (size_t count : {511u, 512u, 513u}) {
    ExpectWide(Repeat<std::string>("\xC3\xA9", count),
               WideString(count, WCHAR(0xE9)));
  }
  for (size_t pairs : {255u, 256u}) {
    ExpectWide("a" + Repeat<std::string>("\xF0\x9F\x98\x80", pairs),
               WCHAR('a') + Repeat(WideString{WCHAR(0xD83D), WCHAR(0xDE00)}, pairs));
  }
  ExpectWide("a\xFF" "b", {WCHAR('a'), WCHAR(0xFFFD), WCHAR('b')});
  ExpectWide(std::string(600, 'x') + "\xFF",
             WideString(600, WCHAR('x')) + WCHAR(0xFFFD));
}

TEST(Utf8Path, InlineUpTo511BytesThenHeap) {
  Utf8Path null_source(nullptr);
  EXPECT_EQ(std::string(null_source.text), "");
  for (size_t length : {0u, 511u, 512u, 1100u}) {
    ExpectUtf8(WideString(length, WCHAR('a')), std::string(length, 'a'));
  }
  // 2- and 3-byte forms straddling the boundary by one odd ASCII byte.
  for (auto [unit, bytes, count] :
       {std::tuple(0xE9, "\xC3\xA9", 255), {0xE9, "\xC3\xA9", 256},
        {0x20AC, "\xE2\x82\xAC", 170}, {0x20AC, "\xE2\x82\xAC", 171}}) {
    ExpectUtf8(WCHAR('a') + WideString(count, WCHAR(unit)),
               "a" + Repeat<std::string>(bytes, count));
  }
  ExpectUtf8({WCHAR('a'), WCHAR(0xD800), WCHAR('b')}, "a\xEF\xBF\xBD" "b");
}

}  // namespace
}  // namespace velm::io
