#include <gtest/gtest.h>

#include <string>

#include "os/utf8_path.h"
#include "os/wide_path.h"
#include "platform/platform.h"

namespace velm::io {
namespace {

using platform::WCHAR;
using platform::WideString;

constexpr WCHAR kReplacement = 0xFFFD;

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

TEST(WidePath, NullAndEmptyGiveTheEmptyDoubleNulText) {
  for (const char* source : {static_cast<const char*>(nullptr), ""}) {
    WidePath wide(source);
    EXPECT_EQ(wide.text, wide.buffer);
    EXPECT_EQ(wide.text[0], 0);
    EXPECT_EQ(wide.text[1], 0);
  }
}

TEST(WidePath, EveryLengthKeepsTheDoubleNulAndMovesToTheHeapBeyond511) {
  for (size_t length = 1; length <= 1100; ++length) {
    ExpectWide(std::string(length, 'a'), WideString(length, WCHAR('a')));
  }
}

TEST(WidePath, MultiByteTextIsMeasuredInUnits) {
  const std::string e_acute = "\xC3\xA9";            // 2 bytes, 1 unit
  const std::string smiley = "\xF0\x9F\x98\x80";     // 4 bytes, 2 units
  const WideString smiley_units = {WCHAR(0xD83D), WCHAR(0xDE00)};
  for (size_t count : {511u, 512u, 513u}) {
    std::string source;
    for (size_t i = 0; i < count; ++i) source += e_acute;
    ExpectWide(source, WideString(count, WCHAR(0xE9)));
  }
  for (size_t pairs : {255u, 256u}) {
    std::string source = "a";
    WideString expected = {WCHAR('a')};
    for (size_t i = 0; i < pairs; ++i) {
      source += smiley;
      expected += smiley_units;
    }
    ExpectWide(source, expected);
  }
}

TEST(WidePath, MalformedUtf8BecomesReplacementCharacters) {
  ExpectWide("a\xFF" "b", {WCHAR('a'), kReplacement, WCHAR('b')});
  ExpectWide(std::string(600, 'x') + "\xFF",
             WideString(600, WCHAR('x')) + kReplacement);
}

TEST(Utf8Path, NullAndEmptyGiveTheEmptyText) {
  const WCHAR empty[] = {0};
  for (const WCHAR* source : {static_cast<const WCHAR*>(nullptr), empty}) {
    Utf8Path utf8(source);
    EXPECT_EQ(utf8.text, utf8.buffer);
    EXPECT_EQ(utf8.text[0], '\0');
  }
}

TEST(Utf8Path, InlineUpTo511BytesThenHeap) {
  for (size_t length : {1u, 510u, 511u, 512u, 513u, 1100u}) {
    ExpectUtf8(WideString(length, WCHAR('a')), std::string(length, 'a'));
  }
  // 2- and 3-byte forms straddling the boundary by one odd ASCII byte.
  for (size_t count : {255u, 256u}) {
    std::string expected = "a";
    for (size_t i = 0; i < count; ++i) expected += "\xC3\xA9";
    ExpectUtf8(WCHAR('a') + WideString(count, WCHAR(0xE9)), expected);
  }
  for (size_t count : {170u, 171u}) {
    std::string expected = "a";
    for (size_t i = 0; i < count; ++i) expected += "\xE2\x82\xAC";
    ExpectUtf8(WCHAR('a') + WideString(count, WCHAR(0x20AC)), expected);
  }
}

TEST(Utf8Path, LoneSurrogateBecomesReplacementCharacter) {
  ExpectUtf8({WCHAR('a'), WCHAR(0xD800), WCHAR('b')}, "a\xEF\xBF\xBD" "b");
}

}  // namespace
}  // namespace velm::io
