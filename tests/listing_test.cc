#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <velm/io/opener>

#include "os/dual_path.h"
#include "os/make_absolute_path.h"
#include "platform/platform.h"
#include "support/test_support.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

using test::TempDir;
using test::WriteFile;
using Strings = std::vector<std::string>;

const std::string kSep(1, platform::kPathSeparator);

Opener* Sys() { return GetOpener(OpenerTypeSys); }

Strings Sorted(Strings strings) {
  std::sort(strings.begin(), strings.end());
  return strings;
}

Strings ListOf(const std::string& path) {
  Strings out;
  Sys()->List(path, out);
  return out;
}

Strings FilesOf(const std::string& path, bool recursive) {
  Strings out;
  Sys()->ListFiles(path, recursive, out);
  return out;
}

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

// dir holds f, .x, ..x and the directories sub (with a file) and empty.
class Listing : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"f", ".x", "..x"}) WriteFile(dir.Join(name), name);
    fs::create_directories(fs::u8path(dir.Join("sub")));
    fs::create_directories(fs::u8path(dir.Join("empty")));
    WriteFile(dir.Join("sub") + kSep + "inner", "i");
    ASSERT_TRUE(MakeAbsolutePath(dir.path(), base));
  }

  TempDir dir;
  std::string base;
};

TEST_F(Listing, ListGivesAbsoluteEntriesWithoutDots) {
  Strings expected;
  for (const char* name : {"..x", ".x", "empty", "f", "sub"}) {
    expected.push_back(base + kSep + name);
  }
  expected = Sorted(expected);
  EXPECT_EQ(Sorted(ListOf(dir.path())), expected);
  EXPECT_EQ(Sorted(ListOf(dir.path() + kSep)), expected);
  {
    ScopedCurrentDirectory current(dir.path());
    Strings here = ListOf("");
    ASSERT_EQ(here.size(), expected.size());
    for (const std::string& entry : here) {
      EXPECT_EQ(entry.rfind(fs::current_path().u8string() + kSep, 0), 0u) << entry;
    }
  }

  Strings out = {"keep"};
  Sys()->List(dir.path(), out);
  Sys()->List(dir.path(), out);
  ASSERT_EQ(out.size(), 1 + 2 * expected.size());
  EXPECT_EQ(out[0], "keep");
  EXPECT_EQ(Strings(out.begin() + 1, out.begin() + 6),
            Strings(out.begin() + 6, out.end()));

  Sys()->List(dir.Join("missing"), out);
  Sys()->List(dir.Join("f"), out);
  Sys()->List(dir.Join("empty"), out);
  EXPECT_EQ(out.size(), 1 + 2 * expected.size());
}

TEST_F(Listing, ListOfARootJoinsWithADoubledSeparator) {
  std::string root;
  ASSERT_TRUE(MakeAbsolutePath(fs::current_path().root_path().u8string(), root));
  ASSERT_EQ(root.back(), platform::kPathSeparator);
  for (const std::string& entry : ListOf(root)) {
    EXPECT_EQ(entry.rfind(root + kSep, 0), 0u) << entry;
  }
}

TEST_F(Listing, ListFilesOfOneLevel) {
  Strings expected = {"..x", ".x", "f"};
  EXPECT_EQ(Sorted(FilesOf(dir.path(), false)), expected);
  EXPECT_EQ(Sorted(FilesOf(dir.path() + kSep, false)), expected);
  EXPECT_EQ(Sorted(FilesOf(dir.path(), true)),
            Sorted({"..x", ".x", "f", "sub" + kSep + "inner"}));
  Strings out = {"keep"};
  Sys()->ListFiles(dir.Join("missing"), true, out);
  Sys()->ListFiles(dir.Join("f"), true, out);
  Sys()->ListFiles(dir.Join("empty"), true, out);
  EXPECT_EQ(out, Strings{"keep"});
}

TEST(ListFiles, RecursiveWalkIsBreadthFirst) {
  TempDir dir;
  fs::path top = fs::u8path(dir.path());
  fs::create_directories(top / "a" / "c");
  fs::create_directories(top / "b");
  fs::create_directories(top / "b" / "empty");
  WriteFile((top / "x.txt").u8string(), "");
  WriteFile((top / "a" / "y.txt").u8string(), "");
  WriteFile((top / "b" / "z.txt").u8string(), "");
  WriteFile((top / "a" / "c" / "w.txt").u8string(), "");
  // Entries use the library's separator whichever one the path was given with.
  std::string forward = dir.path();
  std::replace(forward.begin(), forward.end(), '\\', '/');
  Strings out = FilesOf(forward, true);
  ASSERT_EQ(out.size(), 4u);
  EXPECT_EQ(out[0], "x.txt");
  EXPECT_EQ(Sorted({out[1], out[2]}), Sorted({"a" + kSep + "y.txt", "b" + kSep + "z.txt"}));
  EXPECT_EQ(out[3], "a" + kSep + "c" + kSep + "w.txt");
}

TEST(ListFiles, EmptyPathListsTheRoot) {
  fs::path root = fs::current_path().root_path();
  Strings expected;
  std::error_code error;
  for (fs::directory_iterator it(root, error), end; !error && it != end;
       it.increment(error)) {
    std::error_code kind_error;
    if (!fs::is_directory(it->path(), kind_error)) {
      expected.push_back(it->path().filename().u8string());
    }
  }
  EXPECT_EQ(Sorted(FilesOf("", false)), Sorted(expected));
}

TEST(ListFiles, LinkLoopEnds) {
  TempDir dir;
  WriteFile(dir.Join("f"), "f");
  std::error_code error;
  fs::create_directory_symlink(fs::u8path(dir.path()), fs::u8path(dir.Join("loop")),
                               error);
  if (error) GTEST_SKIP() << "no symbolic links here: " << error.message();
  // A link to a directory is a directory: no file entry of its own.
  EXPECT_EQ(FilesOf(dir.path(), false), Strings{"f"});
  Strings out = FilesOf(dir.path(), true);
  ASSERT_GE(out.size(), 2u);
  EXPECT_EQ(out[0], "f");
  EXPECT_EQ(out[1], "loop" + kSep + "f");
  for (const std::string& entry : out) EXPECT_EQ(entry.back(), 'f');
}

TEST(DualPath, SyncFillsOnlyAnEmptyForm) {
  DualPath empty;
  empty.Sync();
  EXPECT_TRUE(empty.utf8.empty());
  EXPECT_TRUE(empty.wide.empty());

  DualPath from_utf8;
  from_utf8.utf8 = "Größe/😀";
  from_utf8.Sync();
  EXPECT_EQ(from_utf8.wide, platform::WideString(VELM_WIDE("Größe/😀")));

  DualPath from_wide;
  from_wide.wide = VELM_WIDE("файл");
  from_wide.Sync();
  EXPECT_EQ(from_wide.utf8, "файл");

  DualPath both;
  both.utf8 = "one";
  both.wide = VELM_WIDE("two");
  both.Sync();
  EXPECT_EQ(both.utf8, "one");
  EXPECT_EQ(both.wide, platform::WideString(VELM_WIDE("two")));
}

}  // namespace
}  // namespace velm::io
