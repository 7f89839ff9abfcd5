#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include <velm/io/opener>
#include <velm/io/stream>

#include "support/test_support.h"

namespace velm::io {
namespace {

class MMapInput : public testing::Test {
 protected:
  void SetUp() override {
    path = dir.Join("ten");
    test::WriteFile(path, "0123456789");
    input.reset(GetOpener(OpenerTypeMMap)->OpenInput(path));
    ASSERT_NE(input, nullptr);
  }
  test::TempDir dir;
  std::string path;
  std::unique_ptr<Input> input;
};

TEST_F(MMapInput, SeekTable) {
  constexpr int32_t kSet = SEEK_SET, kCur = SEEK_CUR, kEnd = SEEK_END;
  struct Row {
    int64_t from, offset;
    int32_t whence, result;
    int64_t to;
  } const rows[] = {
      {3, 0, kSet, 0, 0}, {3, 10, kSet, 0, 10}, {3, 11, kSet, -1, 3},
      {3, -1, kSet, -1, 3}, {3, 7, kCur, 0, 10}, {3, 8, kCur, -1, 3},
      {5, -5, kCur, -1, 5}, {5, -4, kCur, 0, 1}, {1, -1, kCur, -1, 1},
      {2, -1, kCur, 0, 1}, {0, 0, kCur, 0, 0}, {3, 0, kEnd, 0, 10},
      {3, -10, kEnd, 0, 0}, {3, -11, kEnd, -1, 3}, {3, 1, kEnd, -1, 3},
      {3, 0, 3, -1, 3}, {3, 0, -1, -1, 3}, {3, INT64_MIN, kCur, -1, 3},
      {3, INT64_MAX, kCur, -1, 3}, {3, INT64_MIN, kEnd, -1, 3},
  };
  for (const Row& row : rows) {
    ASSERT_EQ(input->Seek(row.from, kSet), 0);
    EXPECT_EQ(input->Seek(row.offset, row.whence), row.result)
        << row.from << " " << row.offset << " " << row.whence;
    EXPECT_EQ(input->Tell(), row.to) << row.from << " " << row.offset;
  }
  ASSERT_EQ(input->Seek(0, kEnd), 0);
  EXPECT_TRUE(input->IsEOF()) << "before any Read";
}

TEST_F(MMapInput, ReadsClonesAndClose) {
  char buffer[32] = {};
  ASSERT_EQ(input->Seek(6, SEEK_SET), 0);
  EXPECT_EQ(input->Read(buffer, sizeof buffer), 4);
  EXPECT_EQ(std::string(buffer, 4), "6789");
  EXPECT_EQ(input->Read(buffer, sizeof buffer), 0);
  int fd = 1234;
  int64_t offset = 5678;
  EXPECT_FALSE(input->GetDescriptor(&fd, &offset));
  EXPECT_TRUE(fd == 1234 && offset == 5678) << "left as they were";
  EXPECT_EQ(GetOpener(OpenerTypeMMap)->OpenOutput(path), nullptr);

  ASSERT_EQ(input->Seek(7, SEEK_SET), 0);
  std::unique_ptr<Input> clone(input->Clone());
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->Tell(), 0);
  input->Close();
  input->Close();
  EXPECT_EQ(clone->Read(buffer, 3), 3) << "the clone outlives the original";
  EXPECT_EQ(std::string(buffer, 3), "012");

  EXPECT_TRUE(input->IsClosed());
  EXPECT_FALSE(input->IsEOF()) << "the position is below the size";
  EXPECT_EQ(input->Read(buffer, sizeof buffer), 0);
  EXPECT_EQ(input->Seek(2, SEEK_CUR), 0) << "seeking works on the numbers";
  EXPECT_EQ(input->Tell(), 9);
  clone.reset(input->Clone());
  ASSERT_NE(clone, nullptr);
  EXPECT_TRUE(clone->IsClosed() && clone->GetSize() == 10);
  EXPECT_EQ(clone->Read(buffer, sizeof buffer), 0);
}

}  // namespace
}  // namespace velm::io
