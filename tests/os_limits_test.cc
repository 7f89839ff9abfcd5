#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <velm/io/opener>

#include "platform/platform.h"
#include "support/test_support.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

constexpr bool kWindows = platform::kPathSeparator == '\\';

std::string Spelled(std::string path, char separator) {
  for (char& c : path) {
    if (c == '/' || c == '\\') c = separator;
  }
  return path;
}

std::string Absolute(const std::string& path) {
  std::string out = "untouched";
  GetOpener(OpenerTypeSys)->StandardizePath(path, out);
  return out;
}

class InDirectory {
 public:
  explicit InDirectory(const std::string& path) : previous_(fs::current_path()) {
    fs::current_path(fs::u8path(path));
  }
  ~InDirectory() { fs::current_path(previous_); }

 private:
  fs::path previous_;
};

// Both separators are alike in every operation of the OS back-ends.
TEST(OsLimits, EveryOperationTakesBothSeparators) {
  Opener* sys = GetOpener(OpenerTypeSys);
  for (char separator : {'/', '\\'}) {
    SCOPED_TRACE(std::string("separator ") + separator);
    test::TempDir dir;
    auto path = [&](const char* relative) {
      return Spelled(dir.Join(relative), separator);
    };
    const std::string file = path("new/a/b/f.txt");
    ASSERT_TRUE(sys->CreateDirectories(path("new/a/b")));
    EXPECT_TRUE(sys->IsDirectory(path("new/a/b")));
    for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile}) {
      std::unique_ptr<Output> output(GetOpener(type)->OpenOutput(file));
      ASSERT_NE(output, nullptr) << type;
      EXPECT_EQ(output->Write("abc", 3), 3);
    }
    for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
      std::unique_ptr<Input> input(GetOpener(type)->OpenInput(file));
      ASSERT_NE(input, nullptr) << type;
      EXPECT_EQ(input->GetSize(), 3);
    }
    EXPECT_TRUE(sys->IsFile(file));
    EXPECT_GT(sys->GetModifiedTime(file), 0);
    const std::string own = Spelled(file, platform::kPathSeparator);
    EXPECT_EQ(Absolute(path("new/a/../a/b/f.txt")), own);
    std::vector<std::string> listed;
    sys->List(path("new/a/b"), listed);
    EXPECT_EQ(listed, std::vector<std::string>{own});
    std::vector<std::string> files;
    sys->ListFiles(path("new"), true, files);
    EXPECT_EQ(files, std::vector<std::string>{Spelled("a/b/f.txt", platform::kPathSeparator)});
    EXPECT_TRUE(sys->RemoveFile(file));
    EXPECT_TRUE(sys->RemoveDirectory(path("new")));
    EXPECT_FALSE(sys->IsDirectory(path("new")));
  }
}

// One bound on the result for both branches: 2047 units on POSIX, and on
// Windows what the shell's path calls take, MAX_PATH less the terminator.
TEST(OsLimits, AbsolutePathsAreBoundByTheirLength) {
  const size_t longest = kWindows ? 259 : 2047;
  const std::string root = kWindows ? "C:\\" : "/";
  const std::string fits = root + std::string(longest - root.size(), 'a');
  EXPECT_EQ(Absolute(fits), fits);
  EXPECT_EQ(Absolute(fits + "a"), "untouched");

  test::TempDir dir;
  {
    InDirectory current(dir.path());
    const std::string base = Absolute("");
    const std::string relative(longest - base.size() - 1, 'r');
    EXPECT_EQ(Absolute(relative), base + platform::kPathSeparator + relative);
    EXPECT_EQ(Absolute(relative + "r"), "untouched");
  }
  if (kWindows) return;
  // The current directory "/" adds no separator of its own.
  InDirectory top("/");
  const std::string relative(2046, 'r');
  EXPECT_EQ(Absolute(relative), "/" + relative);
  EXPECT_EQ(Absolute(relative + "r"), "untouched");
  // What counts is the result, not the text that leads to it.
  EXPECT_EQ(Absolute("/" + std::string(3000, 'x') + "/../y"), "/y");
}

// An output would truncate the file under a live view; it is refused by file
// identity, whatever the path's spelling, and nothing changes.
TEST(OsLimits, OutputOverAMappedFileIsRefused) {
  test::TempDir dir;
  const std::string path = dir.Join("m.bin");
  test::WriteFile(path, "mapped");
  std::unique_ptr<Input> mapped(GetOpener(OpenerTypeMMap)->OpenInput(path));
  ASSERT_NE(mapped, nullptr);
  std::vector<std::string> spellings = {path, dir.Join(".") + platform::kPathSeparator + "m.bin"};
  std::error_code error;
  fs::create_hard_link(fs::u8path(path), fs::u8path(dir.Join("link.bin")), error);
  if (!error) spellings.push_back(dir.Join("link.bin"));
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile}) {
    for (const std::string& spelling : spellings) {
      std::unique_ptr<Output> output(GetOpener(type)->OpenOutput(spelling));
      EXPECT_EQ(output, nullptr) << type << " " << spelling;
    }
  }
  EXPECT_EQ(test::ReadFile(path), "mapped");
  char bytes[6];
  EXPECT_EQ(mapped->Read(bytes, sizeof(bytes)), 6);
  mapped.reset();
  std::unique_ptr<Output> output(GetOpener(OpenerTypeSys)->OpenOutput(path));
  EXPECT_NE(output, nullptr);
}

}  // namespace
}  // namespace velm::io
