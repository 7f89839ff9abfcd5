// Hostile archives and calls: what they may cost and what they give back.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <new>
#include <string>

#include <velm/io/opener>

#include "support/test_support.h"
#include "support/zip_support.h"

namespace {
// While set, the non-throwing operator new fails as it does when memory runs
// out. Only the inflater's zlib state is allocated through it.
bool fail_nothrow_new = false;
}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (fail_nothrow_new) return nullptr;
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

namespace velm::io {
namespace {

using test::LoadBytes;
using test::ZipPtr;
using test::ZipWriter;

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

TEST(ZipLimits, InflaterOutOfMemoryThrows) {
  ZipPtr zip = LoadBytes(ZipWriter().Deflated("m", "text").bytes());
  ASSERT_TRUE(zip);
  fail_nothrow_new = true;
  EXPECT_THROW(delete zip->OpenInput("m"), std::bad_alloc);
  fail_nothrow_new = false;
  EXPECT_EQ(test::Contents(zip.get(), "m"), "text");
}

}  // namespace
}  // namespace velm::io
