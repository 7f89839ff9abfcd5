#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <velm/io/opener>

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

Strings FilesOf(const std::string& path, bool recursive) {
  Strings out;
  Sys()->ListFiles(path, recursive, out);
  return out;
}

TEST(Listing, ListGivesAbsoluteEntriesAndListFilesNames) {
  TempDir dir;
  for (const char* name : {"f", ".x", "..x"}) WriteFile(dir.Join(name), name);
  fs::create_directories(fs::u8path(dir.Join("sub")));
  fs::create_directories(fs::u8path(dir.Join("empty")));
  WriteFile(dir.Join("sub") + kSep + "inner", "i");
  std::string base;
  ASSERT_TRUE(MakeAbsolutePath(dir.path(), base));
  Strings entries;
  for (const char* name : {"..x", ".x", "empty", "f", "sub"}) {
    entries.push_back(base + kSep + name);
  }
  Strings files = {"..x", ".x", "f"};
  for (const std::string& path : {dir.path(), dir.path() + kSep}) {
    Strings out = {"keep"};
    Sys()->List(path, out);
    EXPECT_EQ(out[0], "keep");
    EXPECT_EQ(Sorted(Strings(out.begin() + 1, out.end())), entries);
    EXPECT_EQ(Sorted(FilesOf(path, false)), files);
  }
  EXPECT_EQ(Sorted(FilesOf(dir.path(), true)),
            Sorted({"..x", ".x", "f", "sub" + kSep + "inner"}));
  Strings out = {"keep"};
  for (const char* nothing : {"missing", "f", "empty"}) {
    Sys()->List(dir.Join(nothing), out);
    Sys()->ListFiles(dir.Join(nothing), true, out);
  }
  EXPECT_EQ(out, Strings{"keep"});
}

TEST(ListFiles, RecursiveWalkIsBreadthFirst) {
  TempDir dir;
  fs::path top = fs::u8path(dir.path());
  fs::create_directories(top / "a" / "c");
  fs::create_directories(top / "b" / "empty");
  for (fs::path file : {top / "x.txt", top / "a" / "y.txt", top / "b" / "z.txt",
                        top / "a" / "c" / "w.txt"}) {
    WriteFile(file.u8string(), "");
  }
  // Entries use the library's separator whichever one the path was given with.
  std::string forward = dir.path();
  std::replace(forward.begin(), forward.end(), '\\', '/');
  Strings out = FilesOf(forward, true);
  ASSERT_EQ(out.size(), 4u);
  EXPECT_EQ(out[0], "x.txt");
  EXPECT_EQ(Sorted({out[1], out[2]}),
            Sorted({"a" + kSep + "y.txt", "b" + kSep + "z.txt"}));
  EXPECT_EQ(out[3], "a" + kSep + "c" + kSep + "w.txt");
}

TEST(ListFiles, LinkLoopEnds) {
  TempDir dir;
  WriteFile(dir.Join("f"), "f");
  std::error_code error;
  fs::create_directory_symlink(fs::u8path(dir.path()),
                               fs::u8path(dir.Join("loop")), error);
  if (error) GTEST_SKIP() << "no symbolic links here: " << error.message();
  // A link to a directory is a directory: no file entry of its own.
  EXPECT_EQ(FilesOf(dir.path(), false), Strings{"f"});
  Strings out = FilesOf(dir.path(), true);
  ASSERT_GE(out.size(), 2u);
  EXPECT_EQ(out[0], "f");
  EXPECT_EQ(out[1], "loop" + kSep + "f");
  for (const std::string& entry : out) EXPECT_EQ(entry.back(), 'f');
}

}  // namespace
}  // namespace velm::io
