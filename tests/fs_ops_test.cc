#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

#include <velm/io/opener>

#include "platform/platform.h"
#include "support/test_support.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

using test::CountOpenDescriptors;
using test::TempDir;
using test::WriteFile;

bool OnWindows() { return platform::kPathSeparator == '\\'; }

Opener* Sys() { return GetOpener(OpenerTypeSys); }

bool Exists(const std::string& path) { return fs::exists(fs::u8path(path)); }

TEST(FileSystem, IsFileAndIsDirectory) {
  TempDir dir;
  std::string file = dir.Join("f");
  WriteFile(file, "x");
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
    Opener* opener = GetOpener(type);
    EXPECT_TRUE(opener->IsFile(file));
    EXPECT_FALSE(opener->IsDirectory(file));
    EXPECT_TRUE(opener->IsDirectory(dir.path()));
    EXPECT_FALSE(opener->IsFile(dir.path()));
    EXPECT_FALSE(opener->IsFile(dir.Join("missing")));
    EXPECT_FALSE(opener->IsDirectory(dir.Join("missing")));
    EXPECT_FALSE(opener->IsFile(""));
    EXPECT_FALSE(opener->IsDirectory(""));
  }
}

TEST(FileSystem, GetModifiedTimeDropsSubSeconds) {
  TempDir dir;
  std::string file = dir.Join("f");
  WriteFile(file, "x");
  std::time_t now = std::time(nullptr);
  int64_t modified = Sys()->GetModifiedTime(file);
  EXPECT_LE(std::abs(modified - static_cast<int64_t>(now)), 5);

  // The file clock's epoch lies a whole number of seconds from 1970, so a
  // whole second of it is a whole second since 1970.
  using std::chrono::seconds;
  fs::path native = fs::u8path(file);
  auto whole = std::chrono::floor<seconds>(fs::last_write_time(native));
  fs::last_write_time(native, whole);
  int64_t at_whole = Sys()->GetModifiedTime(file);
  fs::last_write_time(native, whole + std::chrono::nanoseconds(999999900));
  EXPECT_EQ(Sys()->GetModifiedTime(file), at_whole);
  fs::last_write_time(native, whole + seconds(1));
  EXPECT_EQ(Sys()->GetModifiedTime(file), at_whole + 1);

  fs::last_write_time(native, whole - seconds(at_whole + 10));
  EXPECT_EQ(Sys()->GetModifiedTime(file), -10);
  // 9.5 seconds before 1970 is -10: cut towards the past, not towards zero.
  // The Windows runtime's setter keeps whole seconds only.
  if (!OnWindows()) {
    fs::last_write_time(native, whole - seconds(at_whole + 10) +
                                    std::chrono::milliseconds(500));
    EXPECT_EQ(Sys()->GetModifiedTime(file), -10);
  }

  EXPECT_EQ(Sys()->GetModifiedTime(dir.path()), -1);
  EXPECT_EQ(Sys()->GetModifiedTime(dir.Join("missing")), -1);
  EXPECT_EQ(Sys()->GetModifiedTime(""), -1);
}

TEST(FileSystem, GetModifiedTimeOfAFileOpenForWriting) {
  TempDir dir;
  std::string file = dir.Join("f");
  std::ofstream writer(fs::u8path(file));
  // Windows refuses the read-only share mode while a writer holds the file;
  // POSIX has no share modes.
  if (OnWindows()) {
    EXPECT_EQ(Sys()->GetModifiedTime(file), -1);
  } else {
    EXPECT_GT(Sys()->GetModifiedTime(file), 0);
  }
}

TEST(FileSystem, CreateDirectories) {
  TempDir dir;
  std::string nested = dir.Join("a") + platform::kPathSeparator + "b" +
                       platform::kPathSeparator + "c";
  EXPECT_TRUE(Sys()->CreateDirectories(nested));
  EXPECT_TRUE(fs::is_directory(fs::u8path(nested)));
  EXPECT_FALSE(Sys()->CreateDirectories(nested));
  EXPECT_FALSE(Sys()->CreateDirectories(dir.path()));
  EXPECT_FALSE(Sys()->CreateDirectories("relative_dir"));
  EXPECT_FALSE(Exists("relative_dir"));
  EXPECT_FALSE(Sys()->CreateDirectories(""));
  std::string file = dir.Join("file");
  WriteFile(file, "x");
  EXPECT_FALSE(Sys()->CreateDirectories(file + platform::kPathSeparator + "sub"));
}

TEST(FileSystem, RemoveFileTakesFilesOnly) {
  TempDir dir;
  std::string file = dir.Join("f");
  WriteFile(file, "x");
  EXPECT_TRUE(Sys()->RemoveFile(file));
  EXPECT_FALSE(Exists(file));
  EXPECT_FALSE(Sys()->RemoveFile(file));
  EXPECT_FALSE(Sys()->RemoveFile(dir.path()));
  EXPECT_TRUE(Exists(dir.path()));
  EXPECT_FALSE(Sys()->RemoveFile(""));
}

TEST(FileSystem, RemoveDirectoryTakesTheWholeTree) {
  TempDir dir;
  fs::path tree = fs::u8path(dir.Join("tree"));
  fs::create_directories(tree / "a" / "b");
  WriteFile((tree / "top").u8string(), "1");
  WriteFile((tree / "a" / "b" / "deep").u8string(), "2");
  EXPECT_TRUE(Sys()->RemoveDirectory(tree.u8string()));
  EXPECT_FALSE(fs::exists(tree));
  EXPECT_FALSE(Sys()->RemoveDirectory(tree.u8string()));

  std::string file = dir.Join("plain");
  WriteFile(file, "x");
  EXPECT_TRUE(Sys()->RemoveDirectory(file));
  EXPECT_FALSE(Exists(file));
  // Windows answers an empty list as it likes; here it is a failure.
  if (!OnWindows()) {
    EXPECT_FALSE(Sys()->RemoveDirectory(""));
  }
}

TEST(FileSystem, RemoveDirectoryNeverFollowsLinks) {
  TempDir dir;
  fs::path outside = fs::u8path(dir.Join("outside"));
  fs::path tree = fs::u8path(dir.Join("tree"));
  fs::create_directories(outside);
  fs::create_directories(tree);
  WriteFile((outside / "keep").u8string(), "k");
  std::error_code error;
  fs::create_directory_symlink(outside, tree / "to_dir", error);
  if (error) GTEST_SKIP() << "no symbolic links here: " << error.message();
  fs::create_symlink(outside / "keep", tree / "to_file");
  fs::create_directory_symlink(outside, fs::u8path(dir.Join("top_link")));

  EXPECT_TRUE(Sys()->RemoveDirectory(tree.u8string()));
  EXPECT_FALSE(fs::exists(tree));
  EXPECT_TRUE(fs::exists(outside / "keep"));
  // A link named directly goes itself, on Linux also with a trailing
  // separator, which would otherwise lead stat through the link.
  std::string trailing = OnWindows() ? "" : "/";
  EXPECT_TRUE(Sys()->RemoveDirectory(dir.Join("top_link") + trailing));
  EXPECT_FALSE(fs::exists(fs::symlink_status(fs::u8path(dir.Join("top_link")))));
  EXPECT_TRUE(fs::exists(outside / "keep"));
}

TEST(FileSystem, NamesInSeveralScripts) {
  TempDir dir;
  const std::vector<std::string> names = {"Größe", "файл", "ファイル", "😀"};
  for (const std::string& name : names) {
    std::string file = dir.Join(name + ".txt");
    WriteFile(file, name);
    EXPECT_TRUE(Sys()->IsFile(file)) << name;
    EXPECT_GT(Sys()->GetModifiedTime(file), 0) << name;
    std::string sub = dir.Join(name) + platform::kPathSeparator + name;
    EXPECT_TRUE(Sys()->CreateDirectories(sub)) << name;
    EXPECT_TRUE(Sys()->IsDirectory(sub)) << name;
  }
  std::vector<std::string> listed;
  Sys()->ListFiles(dir.path(), false, listed);
  std::sort(listed.begin(), listed.end());
  std::vector<std::string> expected;
  for (const std::string& name : names) expected.push_back(name + ".txt");
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(listed, expected);
  for (const std::string& name : names) {
    EXPECT_TRUE(Sys()->RemoveFile(dir.Join(name + ".txt"))) << name;
    EXPECT_TRUE(Sys()->RemoveDirectory(dir.Join(name))) << name;
  }
  EXPECT_TRUE(fs::is_empty(fs::u8path(dir.path())));
}

TEST(FileSystem, FailuresLeakNoDescriptors) {
  // Under Wine the count is of the emulator's own descriptors, which come and
  // go by themselves.
  if (OnWindows() || CountOpenDescriptors() < 0) {
    GTEST_SKIP() << "descriptors cannot be counted";
  }
  TempDir dir;
  std::string file = dir.Join("f");
  WriteFile(file, "x");
  std::string missing = dir.Join("missing");
  std::string below_file = file + platform::kPathSeparator + "x";
  int before = CountOpenDescriptors();
  std::vector<std::string> out;
  for (int i = 0; i < 2000; ++i) {
    Sys()->GetModifiedTime(dir.path());
    Sys()->GetModifiedTime(missing);
    Sys()->RemoveDirectory(missing);
    Sys()->CreateDirectories(below_file);
    Sys()->List(missing, out);
    Sys()->List(file, out);
    Sys()->ListFiles(missing, true, out);
    Sys()->ListFiles(file, false, out);
  }
  EXPECT_TRUE(out.empty());
  EXPECT_EQ(CountOpenDescriptors(), before);
}

}  // namespace
}  // namespace velm::io
