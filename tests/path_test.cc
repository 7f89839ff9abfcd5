// Logical paths, standardised as text, and absolute OS paths.
#include <velm/io/path>

#include "os/make_absolute_path.h"
#include "support/support.h"

namespace velm::io {
namespace {

using namespace test;

// The canonical form, or "!" for a refusal, which must leave out alone.
std::string Standard(const std::string& in) {
  std::string out = "previous";
  const bool ok = StandardizePathASCII(in, out);
  return ok ? out : out == "previous" ? "!" : "refused but out changed";
}

TEST(StandardizePathASCII, Examples) {
  const std::pair<std::string, std::string> examples[] = {
      {"", ""},           {"a", "a"},           {"a/b/c", "a/b/c"},
      {"a\\b\\c", "a/b/c"}, {"a/\\b", "a/b"},     {"a//b", "a/b"},
      {"/a/b", "a/b"},    {"\\a", "a"},         {"a/b/", "a/b"},
      {"/", ""},          {"//", ""},           {"./a", "a"},
      {"a/./b", "a/b"},   {"a/./", "a"},        {"./", ""},
      {".", "."},         {"/.", "."},          {"a/.", "a/."},
      {"./.", "."},       {"a/./.", "a/."},     {"a/b/..", "a"},
      {"a/b/../", "a"},   {"a/..", ""},         {"a/../b", "b"},
      {"a/./..", ""},     {"..", "!"},          {"../a", "!"},
      {"..\\a", "!"},     {"./..", "!"},        {"a/../..", "!"},
      {"a/../../b", "!"}, {"...", "..."},       {"a/.../b", "a/.../b"},
      {"..a", "..a"},     {"a..", "a.."},       {"a b", "!"},
      {"C:/x", "!"},      {"a/<b>", "!"},       {"it's", "!"},
      {"a?b*", "a?b*"},   {"a b/..", "!"},      {"../ ", "!"},
      // Only these nine bytes are refused; NUL and bytes above 0x7F are
      // ordinary, and the length, not a terminator, ends the path.
      {"a\t", "!"}, {"a\n", "!"}, {"a\r", "!"}, {"a\"", "!"}, {"a>", "!"},
      {std::string("a\0b/c", 5), std::string("a\0b/c", 5)},
      {"Gr\xC3\xB6\xC3\x9F" "e/?|%&*\x7F", "Gr\xC3\xB6\xC3\x9F" "e/?|%&*\x7F"}, };
  // That a result is canonical, of the shape every lookup relies on, the
  // fuzzer checks on any input.
  for (const auto& [in, expected] : examples) EXPECT_EQ(Standard(in), expected) << in;

  std::string same = "/a/./b/../c/";  // in and out may be one object
  EXPECT_TRUE(StandardizePathASCII(same, same) && same == "a/c");
  same = "../x";
  EXPECT_TRUE(!StandardizePathASCII(same, same) && same == "../x");
}

std::string Absolute(const std::string& path) {
  std::string out = "untouched";
  return MakeAbsolutePath(path, out) == (out != "untouched") ? out : "refused but out changed";
}

TEST(MakeAbsolutePath, EachPlatformsAnswers) {
  TempDir dir;
  InDirectory current(dir.path);
  const std::string base = fs::current_path().u8string();
  const std::string& s = kSep;
  // Case is kept and nothing needs to exist. A leading '/' is the root on
  // Linux only; "." and names of dots are PathCanonicalizeW's own answer.
  std::vector<std::pair<std::string, std::string>> cases = {
      {"", base}, {"a//b\\c/", base + s + "a" + s + "b" + s + "c"},
      {"x/./y/../z\\\\", base + s + "x" + s + "z"}, {"Größe/😀/Not", base + s + "Größe" + s + "😀" + s + "Not"}};
  if (OnWindows()) {
    cases.insert(cases.end(), {{"/x", base + s + "x"}, {"D:/x/../y", "D:\\y"},
                               {"D:\\a\\\\b/", "D:\\a\\b"}, {"\\x", "\\x"},
                               {"\\\\server\\share", "\\server\\share"}, {"D:\\", "D:\\"}});
  } else {
    cases.insert(cases.end(), {{"/x", "/x"}, {"/x/../y", "/y"}, {"/a\\\\b//c/", "/a/b/c"},
                               {"\\x", "/x"}, {"//server\\share", "/server/share"},
                               {"/", "/"}, {"/a/../../b/./c", "/b/c"}, {".", base}, {"C:\\x", base + "/C:/x"},
                               {".x/..y/...", base + "/.x/..y/..."}});
  }
  for (const auto& [path, expected] : cases) { EXPECT_EQ(Absolute(path), expected) << path; }
}

// The bound is on the result, whatever text leads to it and whatever the
// current directory ends in: 2047 units, and on Windows what the shell's path
// calls take, MAX_PATH with the terminator, for both branches alike.
TEST(MakeAbsolutePath, ResultsBeyondTheBoundAreRefusedUntouched) {
  const size_t longest = OnWindows() ? 259 : 2047;
  const std::string root = OnWindows() ? "C:\\" : "/";
  const std::string fits = root + std::string(longest - root.size(), 'a');
  EXPECT_TRUE(Absolute(fits) == fits && Absolute(fits + "a") == "untouched");
  TempDir dir;
  InDirectory current(dir.path);
  const std::string base = fs::current_path().u8string();
  const std::string relative(longest - base.size() - 1, 'r');
  EXPECT_TRUE(Absolute(relative) == base + kSep + relative && Absolute(relative + "r") == "untouched");
  if (OnWindows()) return;
  // Bytes count on Linux, where names are bytes; the path fuzzer checks the
  // bound on every spelling.
  EXPECT_EQ(Absolute("/" + std::string(3000, 'x') + "/../y"), "/y");
  // A current directory that is gone cannot be read.
  const std::string gone = dir.Join("gone");
  fs::create_directory(fs::u8path(gone));
  InDirectory inside(gone);
  fs::remove(fs::u8path(gone));
  EXPECT_TRUE(Absolute("x") == "untouched" && Absolute("") == "untouched" && Absolute("/x/y") == "/x/y");
}

}  // namespace
}  // namespace velm::io
