#include <gtest/gtest.h>

#include <filesystem>
#include <string>

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
class ScopedCurrentDirectory {
 public:
  explicit ScopedCurrentDirectory(const std::string& path)
      : saved_(fs::current_path()) {
    fs::current_path(fs::u8path(path));
  }
  ~ScopedCurrentDirectory() {
    std::error_code error;
    fs::current_path(saved_, error);
  }

 private:
  fs::path saved_;
};

std::string Absolute(const std::string& path) {
  std::string out = "untouched";
  if (!MakeAbsolutePath(path, out)) {
    EXPECT_EQ(out, "untouched") << path;
  }
  return out;
}

// Joins segments with the separator the library writes.
std::string Join(std::initializer_list<std::string> segments) {
  std::string joined;
  for (const std::string& segment : segments) {
    if (!joined.empty()) joined += platform::kPathSeparator;
    joined += segment;
  }
  return joined;
}

TEST(MakeAbsolutePath, RelativePathsStandOnTheCurrentDirectory) {
  TempDir dir;
  ScopedCurrentDirectory current(dir.path());
  std::string base = fs::current_path().u8string();
  EXPECT_EQ(Absolute(""), base);
  EXPECT_EQ(Absolute("a//b\\c/"), Join({base, "a", "b", "c"}));
  EXPECT_EQ(Absolute("x/./y/../z\\\\"), Join({base, "x", "z"}));
  EXPECT_EQ(Absolute("Größe/файл/ファイル/😀"),
            Join({base, "Größe", "файл", "ファイル", "😀"}));
  // Case is kept and nothing needs to exist.
  EXPECT_EQ(Absolute("MiXeD/NotThere"), Join({base, "MiXeD", "NotThere"}));
  // A leading '/' is the root on Linux; on Windows only '\' or a drive is.
  EXPECT_EQ(Absolute("/x"), OnWindows() ? Join({base, "x"}) : "/x");
  // How a lone "." or a name that starts with dots comes out is
  // PathCanonicalizeW's own answer on Windows.
  if (!OnWindows()) {
    EXPECT_EQ(Absolute("."), base);
    EXPECT_EQ(Absolute(".x/..y/..."), Join({base, ".x", "..y", "..."}));
  }
}

TEST(MakeAbsolutePath, AbsolutePathsAreNormalised) {
  if (OnWindows()) {
    EXPECT_EQ(Absolute("D:/x/../y"), "D:\\y");
    EXPECT_EQ(Absolute("D:\\a\\\\b/"), "D:\\a\\b");
    EXPECT_EQ(Absolute("\\x"), "\\x");
    EXPECT_EQ(Absolute("\\\\server\\share"), "\\server\\share");
    EXPECT_EQ(Absolute("D:\\"), "D:\\");
  } else {
    EXPECT_EQ(Absolute("/x/../y"), "/y");
    EXPECT_EQ(Absolute("/a\\\\b//c/"), "/a/b/c");
    EXPECT_EQ(Absolute("\\x"), "/x");
    EXPECT_EQ(Absolute("//server\\share"), "/server/share");
    EXPECT_EQ(Absolute("/"), "/");
    EXPECT_EQ(Absolute("/../.."), "/");
    EXPECT_EQ(Absolute("/a/../../b/./c"), "/b/c");
  }
}

TEST(MakeAbsolutePath, ResultsBeyond2047UnitsAreRefused) {
  std::string root = OnWindows() ? "C:\\" : "/";
  std::string fits = root + std::string(2047 - root.size(), 'a');
  std::string out = "untouched";
  EXPECT_FALSE(MakeAbsolutePath(fits + "a", out));
  EXPECT_EQ(out, "untouched");
  if (OnWindows()) return;  // The Windows path calls stop at MAX_PATH.
  EXPECT_TRUE(MakeAbsolutePath(fits, out));
  EXPECT_EQ(out, fits);
  // The bound counts UTF-16 units, not bytes: 2046 two-byte letters fit.
  std::string wide_letters = "/";
  for (int i = 0; i < 2046; ++i) wide_letters += "é";
  EXPECT_TRUE(MakeAbsolutePath(wide_letters, out));
  EXPECT_EQ(out, wide_letters);

  TempDir dir;
  ScopedCurrentDirectory current(dir.path());
  std::string base = fs::current_path().u8string();
  std::string relative(2047 - base.size() - 1, 'r');
  EXPECT_TRUE(MakeAbsolutePath(relative, out));
  EXPECT_EQ(out, base + "/" + relative);
  out = "untouched";
  EXPECT_FALSE(MakeAbsolutePath(relative + "r", out));
  EXPECT_EQ(out, "untouched");
}

TEST(MakeAbsolutePath, UnreadableCurrentDirectoryIsRefused) {
  if (OnWindows()) GTEST_SKIP() << "Windows cannot remove a directory in use";
  TempDir dir;
  std::string gone = dir.Join("gone");
  fs::create_directory(fs::u8path(gone));
  ScopedCurrentDirectory current(gone);
  fs::remove(fs::u8path(gone));
  std::string out = "untouched";
  EXPECT_FALSE(MakeAbsolutePath("x", out));
  EXPECT_FALSE(MakeAbsolutePath("", out));
  EXPECT_EQ(out, "untouched");
  EXPECT_TRUE(MakeAbsolutePath("/x/y", out));
  EXPECT_EQ(out, "/x/y");
}

TEST(StandardizePath, OsBackEndsMakePathsAbsolute) {
  TempDir dir;
  ScopedCurrentDirectory current(dir.path());
  std::string expected = Join({fs::current_path().u8string(), "b"});
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
    std::string out = "old";
    EXPECT_TRUE(GetOpener(type)->StandardizePath("a/../b/", out));
    EXPECT_EQ(out, expected);
    out = "old";
    std::string root = OnWindows() ? "C:\\" : "/";
    EXPECT_FALSE(GetOpener(type)->StandardizePath(root + std::string(3000, 'x'), out));
    EXPECT_EQ(out, "old");
  }
}

}  // namespace
}  // namespace velm::io
