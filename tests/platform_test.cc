#include "platform/platform.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/test_support.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

bool OnWindows() { return platform::kPathSeparator == '\\'; }

platform::WideString Widen(const std::string& text) {
  int units = platform::MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1,
                                            nullptr, 0);
  platform::WideString wide(static_cast<size_t>(units), 0);
  platform::MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, &wide[0], units);
  wide.pop_back();
  return wide;
}

std::string Narrow(const platform::WideString& wide) {
  int bytes = platform::WideCharToMultiByte(CP_UTF8, 0, wide.c_str(), -1,
                                            nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<size_t>(bytes), '\0');
  platform::WideCharToMultiByte(CP_UTF8, 0, wide.c_str(), -1, &text[0], bytes,
                                nullptr, nullptr);
  text.pop_back();
  return text;
}

TEST(Platform, SeparatorIsTheSystemOne) {
  EXPECT_EQ(static_cast<fs::path::value_type>(platform::kPathSeparator),
            fs::path::preferred_separator);
}

TEST(Platform, PathIsRelativeKnowsTheRootOfEachSystem) {
  EXPECT_FALSE(platform::PathIsRelativeW(VELM_WIDE("\\x")));
  EXPECT_TRUE(platform::PathIsRelativeW(VELM_WIDE("x\\y")));
  EXPECT_TRUE(platform::PathIsRelativeW(VELM_WIDE("x/y")));
  if (OnWindows()) {
    // Only a backslash or a drive letter makes a path absolute on Windows.
    EXPECT_TRUE(platform::PathIsRelativeW(VELM_WIDE("/x")));
    EXPECT_FALSE(platform::PathIsRelativeW(VELM_WIDE("C:\\x")));
  } else {
    EXPECT_FALSE(platform::PathIsRelativeW(VELM_WIDE("/x")));
    EXPECT_TRUE(platform::PathIsRelativeW(VELM_WIDE("C:\\x")));
  }
}

TEST(Platform, TextConversionCountsAndRoundTrips) {
  // One unit each for 'a', e-acute and the euro sign, two for the emoji.
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
  const int bytes = static_cast<int>(text.size());
  EXPECT_EQ(platform::MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1,
                                          nullptr, 0), 6);
  EXPECT_EQ(platform::MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes,
                                          nullptr, 0), 5);
  platform::WCHAR wide[8] = {};
  // A short buffer gives 0, not a cut result. (Wine cuts between the units of
  // a surrogate pair, so the cut falls on a whole character here.)
  EXPECT_EQ(platform::MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, wide,
                                          2), 0);
  ASSERT_EQ(platform::MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, wide,
                                          6), 6);
  EXPECT_EQ(wide[1], 0xE9);
  EXPECT_EQ(wide[3], 0xD83D);
  EXPECT_EQ(wide[4], 0xDE00);
  EXPECT_EQ(wide[5], 0);

  EXPECT_EQ(platform::WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0,
                                          nullptr, nullptr), bytes + 1);
  EXPECT_EQ(platform::WideCharToMultiByte(CP_UTF8, 0, wide, 5, nullptr, 0,
                                          nullptr, nullptr), bytes);
  char narrow[16] = {};
  EXPECT_EQ(platform::WideCharToMultiByte(CP_UTF8, 0, wide, 5, narrow,
                                          bytes - 1, nullptr, nullptr), 0);
  ASSERT_EQ(platform::WideCharToMultiByte(CP_UTF8, 0, wide, 5, narrow, bytes,
                                          nullptr, nullptr), bytes);
  EXPECT_EQ(std::string(narrow, static_cast<size_t>(bytes)), text);

  EXPECT_EQ(platform::MultiByteToWideChar(CP_UTF8, 0, text.data(), 0, wide, 8),
            0);
  EXPECT_EQ(Narrow(Widen("plain/ascii\\path")), "plain/ascii\\path");
}

TEST(Platform, MalformedTextBecomesReplacementCharacters) {
  EXPECT_EQ(Widen("a\xFF" "b"), VELM_WIDE("a\xFFFD" "b"));
  const platform::WCHAR lone_surrogate[] = {'x', 0xD800, 'y', 0};
  EXPECT_EQ(Narrow(lone_surrogate), "x\xEF\xBF\xBDy");
}

TEST(Platform, FileOpenedForWritingWithDenyNoCanBeReadAgain) {
  test::TempDir dir;
  const std::string path = dir.Join("shared.bin");
  const platform::WideString wide = Widen(path);

  int writer = -1;
  ASSERT_EQ(platform::_wsopen_s(&writer, wide.c_str(),
                                _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY,
                                _SH_DENYNO, _S_IREAD | _S_IWRITE), 0);
  ASSERT_EQ(platform::_write(writer, "abc", 3), 3);

  int reader = -1;
  ASSERT_EQ(platform::_wsopen_s(&reader, wide.c_str(), _O_RDONLY | _O_BINARY,
                                _SH_DENYNO, 0), 0);
  char bytes[4] = {};
  EXPECT_EQ(platform::_read(reader, bytes, sizeof bytes), 3);
  EXPECT_EQ(std::string(bytes, 3), "abc");
  EXPECT_EQ(platform::_close(reader), 0);
  EXPECT_EQ(platform::_close(writer), 0);

  int missing = -1;
  EXPECT_NE(platform::_wsopen_s(&missing, Widen(dir.Join("none")).c_str(),
                                _O_RDONLY | _O_BINARY, _SH_DENYNO, 0), 0);
}

}  // namespace
}  // namespace velm::io
