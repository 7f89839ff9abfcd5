#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include <velm/io/path>

#include "core/standardize_path.h"

namespace velm::io {
namespace {

struct Example {
  const char* in;
  bool ok;
  const char* out;
};

TEST(StandardizePathASCII, Examples) {
  const Example examples[] = {
      {"", true, ""},           {"a", true, "a"},
      {"a/b/c", true, "a/b/c"}, {"a\\b\\c", true, "a/b/c"},
      {"a/\\b", true, "a/b"},   {"a//b", true, "a/b"},
      {"/a/b", true, "a/b"},    {"\\a", true, "a"},
      {"a/b/", true, "a/b"},    {"/", true, ""},
      {"//", true, ""},         {"./a", true, "a"},
      {"a/./b", true, "a/b"},   {"a/./", true, "a"},
      {"./", true, ""},         {".", true, "."},
      {"/.", true, "."},        {"a/.", true, "a/."},
      {"./.", true, "."},       {"a/./.", true, "a/."},
      {"a/b/..", true, "a"},    {"a/b/../", true, "a"},
      {"a/..", true, ""},       {"a/../b", true, "b"},
      {"a/./..", true, ""},     {"..", false, nullptr},
      {"../a", false, nullptr}, {"..\\a", false, nullptr},
      {"./..", false, nullptr}, {"a/../..", false, nullptr},
      {"a/../../b", false, nullptr}, {"...", true, "..."},
      {"a/.../b", true, "a/.../b"},  {"..a", true, "..a"},
      {"a..", true, "a.."},     {"a b", false, nullptr},
      {"C:/x", false, nullptr}, {"a/<b>", false, nullptr},
      {"it's", false, nullptr}, {"a?b*", true, "a?b*"},
      {"a b/..", false, nullptr}, {"../ ", false, nullptr},
  };
  for (const Example& example : examples) {
    std::string out = "previous";
    EXPECT_EQ(StandardizePathASCII(example.in, out), example.ok) << example.in;
    EXPECT_EQ(out, example.ok ? example.out : "previous") << example.in;
  }
}

TEST(StandardizePathASCII, JudgesBytesNotCharacters) {
  for (char rejected : {'\t', '\n', '\r', ' ', '"', '\'', ':', '<', '>'}) {
    std::string out;
    EXPECT_FALSE(StandardizePathASCII(std::string("a") + rejected, out))
        << int(rejected);
  }
  std::string out;
  // NUL and high bytes are ordinary: the length decides where a path ends.
  EXPECT_TRUE(StandardizePathASCII(std::string("a\0b/c", 5), out));
  EXPECT_EQ(out, std::string("a\0b/c", 5));
  EXPECT_TRUE(StandardizePathASCII("Gr\xC3\xB6\xC3\x9F" "e/?|%&*", out));
  EXPECT_EQ(out, "Gr\xC3\xB6\xC3\x9F" "e/?|%&*");
}

TEST(StandardizePathASCII, InAndOutMayBeTheSameObject) {
  std::string path = "/a/./b/../c/";
  EXPECT_TRUE(StandardizePathASCII(path, path));
  EXPECT_EQ(path, "a/c");
  path = "../x";
  EXPECT_FALSE(StandardizePathASCII(path, path));
  EXPECT_EQ(path, "../x");
}

TEST(StandardizePathASCII, TokenizeGivesTheComponents) {
  std::vector<std::string> tokens = {"stale"};
  EXPECT_TRUE(TokenizePathASCII("", tokens));
  EXPECT_TRUE(tokens.empty());
  EXPECT_TRUE(TokenizePathASCII("/x//y/./z/..", tokens));
  EXPECT_EQ(tokens, (std::vector<std::string>{"x", "y"}));
}

// The result of a successful call is canonical: standardising it again gives
// the same text, and it has the shape every archive lookup relies on.
TEST(StandardizePathASCII, IsIdempotentOverGeneratedPaths) {
  const std::vector<std::string> pieces = {
      "a", "b", "..", ".", "/", "\\", "//", "...", "x.y", "\xC3\xA9", "?",
      std::string(1, '\0'), "\x7F", " ", ":"};
  std::mt19937 random(20261123);
  int accepted = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string path;
    int count = static_cast<int>(random() % 9);
    for (int i = 0; i < count; ++i) path += pieces[random() % pieces.size()];
    std::string once;
    if (!StandardizePathASCII(path, once)) continue;
    ++accepted;
    std::string twice;
    ASSERT_TRUE(StandardizePathASCII(once, twice)) << path;
    ASSERT_EQ(once, twice) << path;
    ASSERT_EQ(once.find('\\'), std::string::npos);
    ASSERT_EQ(once.find("//"), std::string::npos);
    if (!once.empty()) {
      ASSERT_NE(once.front(), '/');
      ASSERT_NE(once.back(), '/');
    }
  }
  EXPECT_GT(accepted, 5000);
}

}  // namespace
}  // namespace velm::io
