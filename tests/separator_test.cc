#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <velm/io/opener>

#include "support/test_support.h"

namespace velm::io {
namespace {

// Both separators name the same file on every platform, in every OS call.
TEST(Separators, BackslashAndSlashAreAlike) {
  test::TempDir dir;
  std::filesystem::create_directory(std::filesystem::u8path(dir.Join("sub")));
  test::WriteFile(dir.Join("sub") + "/f.txt", "abc");
  const std::string mixed = dir.path() + "\\sub\\f.txt";
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
    Opener* opener = GetOpener(type);
    std::unique_ptr<Input> input(opener->OpenInput(mixed));
    ASSERT_NE(input, nullptr) << opener->GetName();
    EXPECT_EQ(input->GetSize(), 3);
    EXPECT_TRUE(opener->IsFile(mixed));
    EXPECT_TRUE(opener->IsDirectory(dir.path() + "\\sub"));
  }
  std::vector<std::string> files;
  GetOpener(OpenerTypeSys)->ListFiles(dir.path() + "\\sub", false, files);
  EXPECT_EQ(files, std::vector<std::string>{"f.txt"});
}

}  // namespace
}  // namespace velm::io
