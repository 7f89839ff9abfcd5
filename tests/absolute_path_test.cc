#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <velm/io/opener>

#include "os/make_absolute_path.h"
#include "platform/platform.h"
#include "support/test_support.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

using test::TempDir;

bool OnWindows() { return platform::kPathSeparator == '\\'; }

// Makes path the current directory for the life of the object.
struct InDirectory {
  explicit InDirectory(const std::string& p) { fs::current_path(fs::u8path(p)); }
  ~InDirectory() { std::error_code error; fs::current_path(saved, error); }
  fs::path saved = fs::current_path();
};

using Cases = std::vector<std::pair<std::string, std::string>>;

std::string Absolute(const std::string& path) {
  std::string out = "untouched";
  bool made = MakeAbsolutePath(path, out);
  // A refusal leaves out as it was.
  return made == (out != "untouched") ? out : "answer and out disagree";
}

TEST(MakeAbsolutePath, EachPlatformsAnswers) {
  TempDir dir;
  InDirectory current(dir.path());
  const std::string base = fs::current_path().u8string();
  const std::string s(1, platform::kPathSeparator);
  // Case is kept and nothing needs to exist. A leading '/' is the root on
  // Linux only; "." and names of dots are PathCanonicalizeW's own answer.
  Cases cases = {{"", base},
                 {"a//b\\c/", base + s + "a" + s + "b" + s + "c"},
                 {"x/./y/../z\\\\", base + s + "x" + s + "z"},
                 {"Größe/😀/Not", base + s + "Größe" + s + "😀" + s + "Not"}};
  Cases windows = {{"/x", base + s + "x"}, {"D:/x/../y", "D:\\y"},
                   {"D:\\a\\\\b/", "D:\\a\\b"}, {"\\x", "\\x"},
                   {"\\\\server\\share", "\\server\\share"}, {"D:\\", "D:\\"}};
  Cases posix = {{"/x", "/x"}, {"/x/../y", "/y"}, {"/a\\\\b//c/", "/a/b/c"},
                 {"\\x", "/x"}, {"//server\\share", "/server/share"}, {"/", "/"},
                 {"/a/../../b/./c", "/b/c"}, {".", base},
                 {".x/..y/...", base + "/.x/..y/..."}};
  const Cases& own = OnWindows() ? windows : posix;
  cases.insert(cases.end(), own.begin(), own.end());
  for (const auto& [path, expected] : cases) {
    EXPECT_EQ(Absolute(path), expected) << path;
  }
}

TEST(MakeAbsolutePath, ResultsBeyond2047UnitsAreRefusedUntouched) {
  std::string root = OnWindows() ? "C:\\" : "/";
  std::string fits = root + std::string(2047 - root.size(), 'a');
  EXPECT_EQ(Absolute(fits + "a"), "untouched");
  if (OnWindows()) return;  // The Windows path calls stop at MAX_PATH.
  EXPECT_EQ(Absolute(fits), fits);
  // The bound counts UTF-16 units, not bytes: 2046 two-byte letters fit.
  std::string letters = "/";
  for (int i = 0; i < 2046; ++i) letters += "é";
  EXPECT_EQ(Absolute(letters), letters);

  TempDir dir;
  InDirectory current(dir.path());
  std::string base = fs::current_path().u8string();
  std::string relative(2047 - base.size() - 1, 'r');
  EXPECT_EQ(Absolute(relative), base + "/" + relative);
  EXPECT_EQ(Absolute(relative + "r"), "untouched");

  // A current directory that is gone cannot be read.
  std::string gone = dir.Join("gone");
  fs::create_directory(fs::u8path(gone));
  InDirectory inside(gone);
  fs::remove(fs::u8path(gone));
  EXPECT_EQ(Absolute("x"), "untouched");
  EXPECT_EQ(Absolute(""), "untouched");
  EXPECT_EQ(Absolute("/x/y"), "/x/y");
}

TEST(StandardizePath, OsBackEndsMakePathsAbsolute) {
  TempDir dir;
  InDirectory current(dir.path());
  std::string too_long = (OnWindows() ? "C:\\" : "/") + std::string(3000, 'x');
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
    std::string out = "old";
    EXPECT_FALSE(GetOpener(type)->StandardizePath(too_long, out));
    EXPECT_EQ(out, "old");
    EXPECT_TRUE(GetOpener(type)->StandardizePath("a/../b/", out));
    EXPECT_EQ(out, fs::current_path().u8string() + platform::kPathSeparator + "b");
  }
}

}  // namespace
}  // namespace velm::io
