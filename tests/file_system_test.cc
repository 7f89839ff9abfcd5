// The OS back-ends' file-system operations and listings.
#include <algorithm>
#include <chrono>
#include <ctime>

#include "os/make_absolute_path.h"
#include "support/support.h"

namespace velm::io {
namespace {

using namespace test;

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

// A folder with a file, a folder, and where the system allows, links to both
// and one that leads nowhere. Their names are in several scripts.
struct Tree {
  Tree() {
    WriteFile(file, "x");
    fs::create_directory(fs::u8path(directory));
    std::error_code error;
    fs::create_directory_symlink(fs::u8path(directory), fs::u8path(dir.Join("to_d")), error);
    if (!error) fs::create_symlink(fs::u8path(file), fs::u8path(dir.Join("to_f")), error);
    if (!error) fs::create_symlink(fs::u8path(dir.Join("none")), fs::u8path(dir.Join("to_none")), error);
    links = !error;
  }
  TempDir dir;
  const std::string file = dir.Join("Größe😀"), directory = dir.Join("файл");
  bool links = false;
};

// Both separators are alike in the shell's directory calls and in every
// back-end's opens too. CreateDirectories makes every level of an absolute
// path that does not exist yet, and nothing else.
TEST(FileSystem, EveryOperationTakesBothSeparators) {
  TempDir dir;
  InDirectory current(dir.path);
  WriteFile(dir.Join("file"), "x");
  for (const std::string& refused : {std::string("relative"), std::string(), dir.Join("file/b")}) {
    EXPECT_FALSE(Sys()->CreateDirectories(refused)) << refused;
  }
  EXPECT_FALSE(fs::exists("relative"));
  for (char separator : {'/', '\\'}) {
    std::string file = dir.Join("new/a/b/f");
    std::replace_if(file.begin(), file.end(), [](char c) { return c == '/' || c == '\\'; }, separator);
    const std::string top = file.substr(0, file.size() - 6);
    ASSERT_TRUE(Sys()->CreateDirectories(file.substr(0, file.size() - 2))) << separator;
    EXPECT_FALSE(Sys()->CreateDirectories(file.substr(0, file.size() - 2))) << "it exists";
    for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile}) {
      std::unique_ptr<Output> output(GetOpener(type)->OpenOutput(file));
      EXPECT_TRUE(output && output->Write("abc", 3) == 3) << separator << type;
    }
    for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
      EXPECT_EQ(Contents(GetOpener(type), file), "abc") << separator << type;
    }
    EXPECT_TRUE(Sys()->GetModifiedTime(file) > 0 && Sys()->RemoveFile(file)) << separator;
    EXPECT_TRUE(Sys()->RemoveDirectory(top) && !fs::exists(fs::u8path(dir.Join("new")))) << separator;
  }
}

// IsFile and IsDirectory take a link as what it leads to; RemoveFile takes a
// file, once; RemoveDirectory a file or a tree, never what a link leads to.
// A path with a NUL is refused by every operation: the system would cut it
// there and act on another file.
TEST(FileSystem, KindsTimesAndRemovalsNeverFollowLinks) {
  Tree tree;
  // A modified time drops sub-seconds.
  const fs::path native = fs::u8path(tree.file);
  // The file clock's epoch lies whole seconds from 1970, so a whole second of
  // it is a whole second since 1970.
  const auto whole = std::chrono::floor<std::chrono::seconds>(fs::last_write_time(native));
  fs::last_write_time(native, whole);
  const int64_t at_whole = Sys()->GetModifiedTime(tree.file);
  EXPECT_NEAR(at_whole, std::time(nullptr), 5);
  fs::last_write_time(native, whole + std::chrono::nanoseconds(999999900));
  EXPECT_EQ(Sys()->GetModifiedTime(tree.file), at_whole);
  // 9.5 seconds before 1970 is -10: cut towards the past, not towards zero.
  // The Windows runtime's setter keeps whole seconds only.
  fs::last_write_time(native, whole - std::chrono::seconds(at_whole + 10) +
                                  std::chrono::milliseconds(OnWindows() ? 0 : 500));
  EXPECT_EQ(Sys()->GetModifiedTime(tree.file), -10);
  for (const std::string& path : {tree.directory, tree.dir.Join("missing"), std::string()}) {
    EXPECT_EQ(GetOpener(OpenerTypeMMap)->GetModifiedTime(path), -1) << path;
  }
  const struct { std::string path; bool file, directory, link; } cases[] = {
      {tree.file, true, false, false}, {tree.directory, false, true, false},
      {tree.dir.Join("missing"), false, false, false}, {"", false, false, false},
      {tree.directory + "\\..\\Größe😀", true, false, false}, {tree.dir.path + "/файл", false, true, false},
      {tree.dir.Join("to_d"), false, true, true}, {tree.dir.Join("to_f"), true, false, true},
      {tree.dir.Join("to_none"), false, false, true}};
  const std::string cut = tree.file + std::string("\0/x", 3);
  LogCapture log;  // the mapped back-end reports a refused open
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
    Opener* o = GetOpener(type);
    for (const auto& c : cases) {
      EXPECT_TRUE((c.link && !tree.links) || (o->IsFile(c.path) == c.file && o->IsDirectory(c.path) == c.directory))
          << c.path;
    }
    std::string out;
    EXPECT_FALSE(o->OpenInput(cut) || o->OpenOutput(cut) || o->IsFile(cut) || o->IsDirectory(cut) ||
                 o->StandardizePath(cut, out) || o->CreateDirectories(cut));
    EXPECT_FALSE(o->RemoveFile(cut) || o->RemoveDirectory(cut) || o->GetModifiedTime(cut) != -1);
  }
  EXPECT_EQ(ReadFile(tree.file), "x");
  EXPECT_FALSE(Sys()->RemoveFile(tree.directory) || Sys()->RemoveFile(""));
  const fs::path top = fs::u8path(tree.dir.Join("top"));
  fs::create_directories(top / "a" / "b");
  WriteFile((top / "a" / "b" / "deep").u8string(), "2");
  WriteFile(tree.directory + kSep + "keep", "k");
  std::error_code error;
  fs::create_directory_symlink(fs::u8path(tree.directory), top / "a" / "to_d", error);
  if (!error) fs::create_symlink(fs::u8path(tree.file), top / "to_f", error);
  {  // An empty path removes nothing, the current directory least of all.
    InDirectory current(top.u8string());
    EXPECT_FALSE(Sys()->RemoveDirectory(""));
  }
  EXPECT_TRUE(fs::exists(top / "a" / "b" / "deep"));
  EXPECT_TRUE(Sys()->RemoveDirectory(top.u8string()) && !fs::exists(top));
  EXPECT_FALSE(Sys()->RemoveDirectory(top.u8string()));
  EXPECT_TRUE(fs::exists(fs::u8path(tree.directory + kSep + "keep")));
  const std::string copy = tree.file + "2";
  fs::copy_file(fs::u8path(tree.file), fs::u8path(copy));
  EXPECT_TRUE(Sys()->RemoveFile(copy) && !Sys()->RemoveFile(copy));
  EXPECT_TRUE(Sys()->RemoveDirectory(tree.file)) << "a plain file goes too, once";
  EXPECT_FALSE(fs::exists(fs::u8path(tree.file)) || Sys()->RemoveDirectory(tree.file));
  if (!tree.links) GTEST_SKIP() << "no symbolic links here";
  // A link named directly goes itself, on Linux also with a trailing
  // separator, which would otherwise lead stat through it.
  EXPECT_TRUE(Sys()->RemoveDirectory(tree.dir.Join("to_d") + (OnWindows() ? "" : "/")));
  EXPECT_FALSE(fs::exists(fs::symlink_status(fs::u8path(tree.dir.Join("to_d")))));
  EXPECT_TRUE(fs::exists(fs::u8path(tree.directory + kSep + "keep")));
}

// Linux allows any bytes but '/' and NUL in a name: a name that is not UTF-8
// is listed as the bytes it is, and every back-end opens it by that name.
TEST(Listing, ListGivesAbsoluteEntriesAndListFilesNames) {
  TempDir dir;
  Strings files = Sorted({"f", ".x", "..x", "ファイル"});
  if (!OnWindows()) files = Sorted({"f", ".x", "..x", "ファイル", "b\xFF"});
  for (const std::string& name : files) WriteFile(dir.Join(name), name);
  fs::create_directories(fs::u8path(dir.Join("sub")));
  fs::create_directories(fs::u8path(dir.Join("empty")));
  WriteFile(dir.Join("sub") + kSep + "inner", "i");
  std::string base;
  ASSERT_TRUE(MakeAbsolutePath(dir.path, base));
  Strings entries, recursive = files;
  for (const std::string& name : files) entries.push_back(base + kSep + name);
  entries.push_back(base + kSep + "empty"), entries.push_back(base + kSep + "sub");
  recursive.push_back("sub" + kSep + "inner");
  // Both separators and a trailing one name the same folder.
  std::string forward = dir.path, backward = dir.path;
  std::replace(forward.begin(), forward.end(), '\\', '/');
  std::replace(backward.begin(), backward.end(), '/', '\\');
  for (const std::string& path : {dir.path, dir.path + kSep, forward, backward}) {
    Strings out = {"keep"};
    Sys()->List(path, out);
    EXPECT_EQ(out[0], "keep") << "earlier content stays";
    EXPECT_EQ(Sorted(Strings(out.begin() + 1, out.end())), Sorted(entries)) << path;
    EXPECT_EQ(Sorted(FilesOf(path, false)), files) << path;
    EXPECT_EQ(Sorted(FilesOf(path, true)), Sorted(recursive));
  }
  for (const std::string& name : FilesOf(dir.path, false)) {
    for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
      EXPECT_EQ(Contents(GetOpener(type), dir.Join(name)), name) << type;
    }
    EXPECT_TRUE(Sys()->RemoveFile(dir.Join(name))) << "by the name the listing gives";
  }
  Strings out = {"keep"};
  for (const char* nothing : {"missing", "f", "empty"}) {
    Sys()->List(dir.Join(nothing), out), Sys()->ListFiles(dir.Join(nothing), true, out);
  }
  EXPECT_EQ(out, Strings{"keep"});
  InDirectory current(dir.Join("sub"));
  Sys()->List("", out);
  EXPECT_EQ(out, (Strings{"keep", fs::current_path().u8string() + kSep + "inner"}));
  // A root ends in a separator of its own: its search names no doubled one.
  Strings root;
  Sys()->List(kSep, root);
  ASSERT_TRUE(Sys()->StandardizePath(kSep, base));
  ASSERT_FALSE(root.empty());
  EXPECT_EQ(root[0].rfind(base + kSep, 0), 0u) << root[0];
}

// Level by level: the entries of a/c come behind those of b.
TEST(Listing, RecursiveWalkIsBreadthFirstAndEndsInALinkLoop) {
  TempDir dir;
  const fs::path top = fs::u8path(dir.path);
  fs::create_directories(top / "a" / "c");
  fs::create_directories(top / "b" / "empty");
  for (const fs::path& file : {top / "x.txt", top / "a" / "y.txt", top / "b" / "z.txt", top / "a" / "c" / "w.txt"}) {
    WriteFile(file.u8string(), "");
  }
  Strings out = FilesOf(dir.path, true);
  ASSERT_EQ(out.size(), 4u);
  EXPECT_EQ(Sorted({out[1], out[2]}), Sorted({"a" + kSep + "y.txt", "b" + kSep + "z.txt"}));
  EXPECT_TRUE(out[0] == "x.txt" && out[3] == "a" + kSep + "c" + kSep + "w.txt");
  std::error_code error;
  fs::create_directory_symlink(top / "a", top / "a" / "c" / "loop", error);
  if (error) GTEST_SKIP() << "no symbolic links here: " << error.message();
  // A link to a directory is a directory: followed, with no entry of its own.
  EXPECT_EQ(FilesOf((top / "a" / "c").u8string(), false), Strings{"w.txt"});
  out = FilesOf((top / "a").u8string(), true);
  ASSERT_GE(out.size(), 4u);
  const std::string c = "c" + kSep, loop = c + "loop" + kSep;
  EXPECT_EQ(Strings(out.begin(), out.begin() + 4), (Strings{"y.txt", c + "w.txt", loop + "y.txt", loop + c + "w.txt"}));
}

}  // namespace
}  // namespace velm::io
