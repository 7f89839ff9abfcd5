// Hostile archives and calls: what they may cost and what they give back.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <string>

#include <velm/io/opener>

#include "support/test_support.h"

namespace velm::io {
namespace {

// The Microsoft runtime ends the process on such a whence, so it must not
// reach the platform at all: errno stays as it was.
TEST(ZipLimits, UnknownWhenceFailsWithoutAPlatformCall) {
  test::TempDir dir;
  const std::string path = dir.Join("file");
  test::WriteFile(path, "0123456789");
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
    SCOPED_TRACE(type);
    std::unique_ptr<Input> input(GetOpener(type)->OpenInput(path));
    ASSERT_TRUE(input);
    ASSERT_EQ(input->Seek(4, 0), 0);
    errno = 0;
    for (int32_t whence : {3, 4, -1, 1000}) EXPECT_EQ(input->Seek(0, whence), -1);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(input->Tell(), 4);
    if (type == OpenerTypeMMap) continue;
    std::unique_ptr<Output> output(GetOpener(type)->OpenOutput(dir.Join("out")));
    ASSERT_TRUE(output);
    errno = 0;
    EXPECT_EQ(output->Seek(0, 3), -1);
    EXPECT_EQ(errno, 0);
  }
}

}  // namespace
}  // namespace velm::io
