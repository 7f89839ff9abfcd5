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
