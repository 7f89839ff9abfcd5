#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <velm/io/opener>

#include "platform/platform.h"
#include "support/test_support.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

using test::TempDir;
using test::WriteFile;

bool OnWindows() { return platform::kPathSeparator == '\\'; }

Opener* Sys() { return GetOpener(OpenerTypeSys); }

TEST(FileSystem, IsFileIsDirectoryAndRemoveFile) {
  TempDir dir;
  std::string file = dir.Join("f");
  WriteFile(file, "x");
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
    for (const std::string& path :
         {file, dir.path(), dir.Join("missing"), std::string()}) {
      EXPECT_EQ(GetOpener(type)->IsFile(path), path == file) << path;
      EXPECT_EQ(GetOpener(type)->IsDirectory(path), path == dir.path()) << path;
    }
  }
  EXPECT_FALSE(Sys()->RemoveFile(dir.path()));
  EXPECT_FALSE(Sys()->RemoveFile(""));
  EXPECT_TRUE(Sys()->RemoveFile(file));
  EXPECT_FALSE(Sys()->RemoveFile(file));
}

TEST(FileSystem, GetModifiedTimeDropsSubSeconds) {
  TempDir dir;
  std::string file = dir.Join("f");
  fs::path native = fs::u8path(file);
  WriteFile(file, "x");
  // The file clock's epoch lies whole seconds from 1970, so a whole second of
  // it is a whole second since 1970.
  using std::chrono::seconds;
  auto whole = std::chrono::floor<seconds>(fs::last_write_time(native));
  fs::last_write_time(native, whole);
  int64_t at_whole = Sys()->GetModifiedTime(file);
  EXPECT_NEAR(at_whole, std::time(nullptr), 5);
  fs::last_write_time(native, whole + std::chrono::nanoseconds(999999900));
  EXPECT_EQ(Sys()->GetModifiedTime(file), at_whole);
  // 9.5 seconds before 1970 is -10: cut towards the past, not towards zero.
  // The Windows runtime's setter keeps whole seconds only.
  auto before_1970 = whole - seconds(at_whole + 10);
  fs::last_write_time(
      native, before_1970 + std::chrono::milliseconds(OnWindows() ? 0 : 500));
  EXPECT_EQ(Sys()->GetModifiedTime(file), -10);
  for (const std::string& path : {dir.path(), dir.Join("missing"), std::string()}) {
    EXPECT_EQ(Sys()->GetModifiedTime(path), -1) << path;
  }
}

TEST(FileSystem, CreateDirectories) {
  TempDir dir;
  std::string nested = dir.Join("a") + platform::kPathSeparator + "b";
  EXPECT_TRUE(Sys()->CreateDirectories(nested));
  EXPECT_TRUE(fs::is_directory(fs::u8path(nested)));
  EXPECT_FALSE(Sys()->CreateDirectories(nested));
  EXPECT_FALSE(Sys()->CreateDirectories("relative_dir"));
  EXPECT_FALSE(fs::exists("relative_dir"));
  EXPECT_FALSE(Sys()->CreateDirectories(""));
  WriteFile(dir.Join("file"), "x");
  std::string below_file = dir.Join("file") + platform::kPathSeparator + "b";
  EXPECT_FALSE(Sys()->CreateDirectories(below_file));
}

TEST(FileSystem, RemoveDirectoryTakesTheTreeButNeverFollowsLinks) {
  TempDir dir;
  fs::path outside = fs::u8path(dir.Join("outside"));
  fs::path tree = fs::u8path(dir.Join("tree"));
  fs::create_directories(outside);
  fs::create_directories(tree / "a" / "b");
  WriteFile((outside / "keep").u8string(), "k");
  WriteFile((tree / "a" / "b" / "deep").u8string(), "2");
  std::error_code error;
  fs::create_directory_symlink(outside, tree / "a" / "to_dir", error);
  if (!error) fs::create_symlink(outside / "keep", tree / "to_file", error);
  EXPECT_TRUE(Sys()->RemoveDirectory(tree.u8string()));
  EXPECT_FALSE(fs::exists(tree));
  EXPECT_FALSE(Sys()->RemoveDirectory(tree.u8string()));
  EXPECT_TRUE(fs::exists(outside / "keep"));
  if (error) GTEST_SKIP() << "no symbolic links here: " << error.message();
  // A link named directly goes itself, on Linux also with a trailing
  // separator, which would otherwise lead stat through the link.
  fs::path link = fs::u8path(dir.Join("top_link"));
  fs::create_directory_symlink(outside, link);
  std::string trailing = OnWindows() ? "" : "/";
  EXPECT_TRUE(Sys()->RemoveDirectory(link.u8string() + trailing));
  EXPECT_FALSE(fs::exists(fs::symlink_status(link)));
  EXPECT_TRUE(fs::exists(outside / "keep"));
  EXPECT_TRUE(Sys()->RemoveDirectory((outside / "keep").u8string()));
  EXPECT_FALSE(fs::exists(outside / "keep"));
}

TEST(FileSystem, NamesInSeveralScripts) {
  TempDir dir;
  std::vector<std::string> names = {"Größe", "файл", "ファイル", "😀"}, listed;
  for (const std::string& name : names) {
    WriteFile(dir.Join(name), name);
    EXPECT_TRUE(Sys()->IsFile(dir.Join(name))) << name;
    EXPECT_GT(Sys()->GetModifiedTime(dir.Join(name)), 0) << name;
    std::string sub = dir.Join(name + "_") + platform::kPathSeparator + name;
    EXPECT_TRUE(Sys()->CreateDirectories(sub)) << name;
  }
  Sys()->ListFiles(dir.path(), false, listed);
  std::sort(listed.begin(), listed.end());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(listed, names);
  for (const std::string& name : names) {
    EXPECT_TRUE(Sys()->RemoveFile(dir.Join(name))) << name;
    EXPECT_TRUE(Sys()->RemoveDirectory(dir.Join(name + "_"))) << name;
  }
  EXPECT_TRUE(fs::is_empty(fs::u8path(dir.path())));
}

TEST(FileSystem, FailuresLeakNoDescriptors) {
  // Under Wine the count is of the emulator's own descriptors.
  if (OnWindows() || test::CountOpenDescriptors() < 0) {
    GTEST_SKIP() << "descriptors cannot be counted";
  }
  TempDir dir;
  std::string file = dir.Join("f");
  WriteFile(file, "x");
  std::string missing = dir.Join("missing");
  int before = test::CountOpenDescriptors();
  std::vector<std::string> out;
  for (int i = 0; i < 2000; ++i) {
    Sys()->GetModifiedTime(dir.path());
    Sys()->GetModifiedTime(missing);
    Sys()->RemoveDirectory(missing);
    Sys()->CreateDirectories(file + platform::kPathSeparator + "x");
    for (const std::string& path : {missing, file}) {
      Sys()->List(path, out);
      Sys()->ListFiles(path, true, out);
    }
  }
  EXPECT_TRUE(out.empty());
  EXPECT_EQ(test::CountOpenDescriptors(), before);
}

}  // namespace
}  // namespace velm::io
