#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include <velm/io/opener>
#include <velm/io/stream>

#include "platform/platform.h"
#include "support/test_support.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

using test::CountOpenDescriptors;
using test::ReadFile;
using test::TempDir;
using test::WriteFile;

Opener* CFile() { return GetOpener(OpenerTypeCFile); }

TEST(CFileStream, ZeroLengthFileReachesEofOnlyByReading) {
  TempDir dir;
  std::string path = dir.Join("empty");
  WriteFile(path, "");
  std::unique_ptr<Input> input(CFile()->OpenInput(path));
  ASSERT_NE(input, nullptr);
  EXPECT_EQ(input->GetSize(), 0);
  EXPECT_FALSE(input->IsClosed());
  EXPECT_FALSE(input->IsEOF());
  char byte;
  EXPECT_EQ(input->Read(&byte, 1), 0);
  EXPECT_TRUE(input->IsEOF());
}

TEST(CFileStream, EndOfFileFollowsTheRuntimeIndicator) {
  TempDir dir;
  std::string path = dir.Join("five");
  WriteFile(path, "hello");
  std::unique_ptr<Input> input(CFile()->OpenInput(path));
  ASSERT_NE(input, nullptr);
  EXPECT_EQ(input->GetSize(), 5);
  EXPECT_EQ(input->GetOpener(), CFile());
  EXPECT_EQ(input->GetPath(), path);

  char buffer[16] = {};
  EXPECT_EQ(input->Read(buffer, 0), 0);
  EXPECT_EQ(input->Tell(), 0);
  EXPECT_EQ(input->Read(buffer, 5), 5);
  EXPECT_EQ(std::string(buffer, 5), "hello");
  EXPECT_FALSE(input->IsEOF()) << "ended exactly at the last byte";
  EXPECT_EQ(input->Read(buffer, 1), 0);
  EXPECT_TRUE(input->IsEOF());

  EXPECT_EQ(input->Seek(1, SEEK_SET), 0);
  EXPECT_FALSE(input->IsEOF()) << "a successful seek clears the indicator";
  EXPECT_EQ(input->Read(buffer, sizeof buffer), 4);
  EXPECT_TRUE(input->IsEOF());

  EXPECT_EQ(input->Seek(100, SEEK_SET), 0);
  EXPECT_EQ(input->Tell(), 100);
  EXPECT_FALSE(input->IsEOF());
  EXPECT_EQ(input->Read(buffer, 1), 0);
  EXPECT_TRUE(input->IsEOF());
  EXPECT_EQ(input->Seek(-1, SEEK_SET), -1);
  EXPECT_EQ(input->Tell(), 100);

  int fd = -1;
  int64_t offset = -1;
  EXPECT_TRUE(input->GetDescriptor(&fd, &offset));
  EXPECT_GE(fd, 0);
  EXPECT_EQ(offset, 0);
}

TEST(CFileStream, OutputTruncatesCreatesAndCountsWrittenBytes) {
  TempDir dir;
  std::string path = dir.Join("out");
  WriteFile(path, "old content that must go");
  std::unique_ptr<Output> output(CFile()->OpenOutput(path));
  ASSERT_NE(output, nullptr);
  EXPECT_EQ(ReadFile(path), "");
  EXPECT_EQ(output->Write("0123456789", 10), 10);
  EXPECT_EQ(output->Write("x", 0), 0);
  EXPECT_EQ(output->GetSize(), 0);
  EXPECT_EQ(output->Tell(), 10) << "buffered bytes count";
  EXPECT_FALSE(output->IsEOF());
  output.reset();
  EXPECT_EQ(ReadFile(path), "0123456789") << "deleting flushes and closes";

  std::string fresh = dir.Join("fresh");
  output.reset(CFile()->OpenOutput(fresh));
  ASSERT_NE(output, nullptr);
  EXPECT_TRUE(fs::exists(fs::u8path(fresh)));
  output->Close();
  EXPECT_TRUE(output->IsClosed());
  EXPECT_EQ(output->Write("abc", 3), 0);
  output->Close();

  std::string nested = dir.Join("missing") + platform::kPathSeparator + "f";
  EXPECT_EQ(CFile()->OpenOutput(nested), nullptr);
  EXPECT_FALSE(fs::exists(fs::u8path(dir.Join("missing"))));
}

TEST(CFileStream, CloneReopensByPath) {
  TempDir dir;
  std::string path = dir.Join("grow");
  WriteFile(path, "abcdef");
  std::unique_ptr<Input> input(CFile()->OpenInput(path));
  ASSERT_NE(input, nullptr);
  char buffer[16];
  ASSERT_EQ(input->Read(buffer, 3), 3);

  WriteFile(path, "abcdefghij");
  EXPECT_EQ(input->GetSize(), 6) << "the size is taken once, at open";
  EXPECT_EQ(input->Read(buffer, sizeof buffer), 7) << "new bytes are read";

  std::unique_ptr<Input> clone(input->Clone());
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->Tell(), 0);
  EXPECT_EQ(clone->GetSize(), 10);
  EXPECT_EQ(clone->GetPath(), path);
  EXPECT_EQ(input->Tell(), 10);

  input->Close();
  std::unique_ptr<Input> from_closed(input->Clone());
  ASSERT_NE(from_closed, nullptr);
  EXPECT_FALSE(from_closed->IsClosed());
  EXPECT_EQ(from_closed->Read(buffer, 2), 2);

  clone.reset();
  from_closed.reset();
  fs::remove(fs::u8path(path));
  EXPECT_EQ(input->Clone(), nullptr);
}

TEST(CFileStream, ClosedStreamAnswers) {
  TempDir dir;
  std::string path = dir.Join("f");
  WriteFile(path, "0123456789");
  std::unique_ptr<Input> input(CFile()->OpenInput(path));
  ASSERT_NE(input, nullptr);
  ASSERT_EQ(input->Seek(4, SEEK_SET), 0);
  input->Close();
  input->Close();
  EXPECT_TRUE(input->IsClosed());
  EXPECT_EQ(input->Tell(), 0);
  EXPECT_EQ(input->Seek(0, SEEK_SET), -1);
  EXPECT_EQ(input->GetSize(), 10);
  EXPECT_TRUE(input->IsEOF());
  EXPECT_EQ(input->GetPath(), path);
  EXPECT_EQ(input->GetOpener(), CFile());
  char buffer[4];
  EXPECT_EQ(input->Read(buffer, sizeof buffer), 0);
  int fd = 1234;
  int64_t offset = 5678;
  EXPECT_FALSE(input->GetDescriptor(&fd, &offset));
  EXPECT_EQ(fd, 1234);
  EXPECT_EQ(offset, 5678);
}

TEST(CFileStream, NoDescriptorLeaks) {
  if (CountOpenDescriptors() < 0) {
    GTEST_SKIP() << "descriptors cannot be counted on this platform";
  }
  TempDir dir;
  std::string file = dir.Join("f");
  WriteFile(file, "data");
  std::string missing = dir.Join("missing");
  std::string in_missing_dir = missing + platform::kPathSeparator + "f";
  int before = CountOpenDescriptors();

  for (int i = 0; i < 2000; ++i) {
    ASSERT_EQ(CFile()->OpenInput(missing), nullptr);
    ASSERT_EQ(CFile()->OpenInput(dir.path()), nullptr);
    ASSERT_EQ(CFile()->OpenInput(""), nullptr);
    ASSERT_EQ(CFile()->OpenOutput(dir.path()), nullptr);
    ASSERT_EQ(CFile()->OpenOutput(in_missing_dir), nullptr);
  }
  EXPECT_EQ(CountOpenDescriptors(), before);

  std::unique_ptr<Input> input(CFile()->OpenInput(file));
  ASSERT_NE(input, nullptr);
  EXPECT_EQ(CountOpenDescriptors(), before + 1);
  input.reset();
  EXPECT_EQ(CountOpenDescriptors(), before);
}

}  // namespace
}  // namespace velm::io
