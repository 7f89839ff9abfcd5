#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include <velm/io/opener>
#include <velm/io/stream>

#include "mmap/input_mmap.h"
#include "support/test_support.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

using test::ReadFile;
using test::TempDir;
using test::WriteFile;

Opener* MMap() { return GetOpener(OpenerTypeMMap); }

class MMapInput : public testing::Test {
 protected:
  void SetUp() override {
    path = dir.Join("ten");
    WriteFile(path, "0123456789");
    input.reset(MMap()->OpenInput(path));
    ASSERT_NE(input, nullptr);
  }

  TempDir dir;
  std::string path;
  std::unique_ptr<Input> input;
};

TEST_F(MMapInput, OpenOutputIsAlwaysNull) {
  EXPECT_EQ(MMap()->OpenOutput(path), nullptr);
  EXPECT_EQ(ReadFile(path), "0123456789");
  std::string missing = dir.Join("missing");
  EXPECT_EQ(MMap()->OpenOutput(missing), nullptr);
  EXPECT_FALSE(fs::exists(fs::u8path(missing)));
}

TEST_F(MMapInput, SeekTable) {
  struct Row {
    uint64_t from;
    int64_t offset;
    int32_t whence;
    int32_t result;
    int64_t to;
  };
  const Row rows[] = {
      {3, 0, SEEK_SET, 0, 0},      {3, 10, SEEK_SET, 0, 10},
      {3, 11, SEEK_SET, -1, 3},    {3, -1, SEEK_SET, -1, 3},
      {3, 7, SEEK_CUR, 0, 10},     {3, 8, SEEK_CUR, -1, 3},
      {3, 0, SEEK_CUR, 0, 3},      {5, -5, SEEK_CUR, -1, 5},
      {5, -4, SEEK_CUR, 0, 1},     {1, -1, SEEK_CUR, -1, 1},
      {2, -1, SEEK_CUR, 0, 1},     {0, 0, SEEK_CUR, 0, 0},
      {3, 0, SEEK_END, 0, 10},     {3, -10, SEEK_END, 0, 0},
      {3, -11, SEEK_END, -1, 3},   {3, 1, SEEK_END, -1, 3},
      {3, 0, 3, -1, 3},            {3, 0, -1, -1, 3},
      {3, INT64_MIN, SEEK_CUR, -1, 3}, {3, INT64_MAX, SEEK_CUR, -1, 3},
      {3, INT64_MIN, SEEK_END, -1, 3},
  };
  for (const Row& row : rows) {
    ASSERT_EQ(input->Seek(static_cast<int64_t>(row.from), SEEK_SET), 0);
    EXPECT_EQ(input->Seek(row.offset, row.whence), row.result)
        << "from " << row.from << " offset " << row.offset << " whence "
        << row.whence;
    EXPECT_EQ(input->Tell(), row.to)
        << "from " << row.from << " offset " << row.offset << " whence "
        << row.whence;
  }
  ASSERT_EQ(input->Seek(0, SEEK_END), 0);
  EXPECT_TRUE(input->IsEOF()) << "before any Read";
}

TEST_F(MMapInput, ReadStopsAtTheEnd) {
  char buffer[32] = {};
  EXPECT_EQ(input->Read(buffer, 0), 0);
  EXPECT_EQ(input->Tell(), 0);
  ASSERT_EQ(input->Seek(6, SEEK_SET), 0);
  EXPECT_EQ(input->Read(buffer, sizeof buffer), 4);
  EXPECT_EQ(std::string(buffer, 4), "6789");
  EXPECT_EQ(input->Tell(), 10);
  EXPECT_TRUE(input->IsEOF());
  EXPECT_EQ(input->Read(buffer, sizeof buffer), 0);

  int fd = 1234;
  int64_t offset = 5678;
  EXPECT_FALSE(input->GetDescriptor(&fd, &offset));
  EXPECT_EQ(fd, 1234);
  EXPECT_EQ(offset, 5678);
}

TEST_F(MMapInput, ClonesShareTheViewAndNotThePosition) {
  ASSERT_EQ(input->Seek(7, SEEK_SET), 0);
  std::unique_ptr<Input> clone(input->Clone());
  ASSERT_NE(clone, nullptr);
  std::unique_ptr<Input> second(MMap()->OpenInput(path));
  ASSERT_NE(second, nullptr);
  auto view = [](const Input* stream) {
    return static_cast<const InputMMap*>(stream)->GetView();
  };
  EXPECT_EQ(view(clone.get()), view(input.get()));
  EXPECT_EQ(view(second.get()), view(input.get()));
  EXPECT_EQ(clone->Tell(), 0);
  EXPECT_FALSE(clone->IsEOF());
  EXPECT_EQ(clone->GetOpener(), MMap());
  EXPECT_EQ(clone->GetPath(), path);

  input.reset();
  char buffer[4];
  EXPECT_EQ(clone->Read(buffer, 3), 3);
  EXPECT_EQ(std::string(buffer, 3), "012");
  EXPECT_EQ(second->Read(buffer, 4), 4);
  EXPECT_EQ(std::string(buffer, 4), "0123");
}

TEST_F(MMapInput, ClosedStreamKeepsItsNumbers) {
  ASSERT_EQ(input->Seek(4, SEEK_SET), 0);
  input->Close();
  input->Close();
  EXPECT_TRUE(input->IsClosed());
  EXPECT_EQ(input->Tell(), 4);
  EXPECT_EQ(input->GetSize(), 10);
  EXPECT_FALSE(input->IsEOF());
  char buffer[4];
  EXPECT_EQ(input->Read(buffer, sizeof buffer), 0);
  EXPECT_EQ(input->Tell(), 4);
  EXPECT_EQ(input->Seek(2, SEEK_CUR), 0);
  EXPECT_EQ(input->Tell(), 6);
  EXPECT_EQ(input->Seek(11, SEEK_SET), -1);
  EXPECT_EQ(input->Seek(0, SEEK_END), 0);
  EXPECT_TRUE(input->IsEOF());
  EXPECT_EQ(input->GetPath(), path);

  std::unique_ptr<Input> clone(input->Clone());
  ASSERT_NE(clone, nullptr);
  EXPECT_TRUE(clone->IsClosed());
  EXPECT_EQ(clone->GetSize(), 10);
  EXPECT_EQ(clone->GetPath(), path);
  EXPECT_EQ(clone->Tell(), 0);
  EXPECT_EQ(clone->Read(buffer, sizeof buffer), 0);
}

}  // namespace
}  // namespace velm::io
