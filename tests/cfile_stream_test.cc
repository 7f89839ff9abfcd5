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
using test::WriteFile;

Opener* CFile() { return GetOpener(OpenerTypeCFile); }

TEST(CFileStream, InputEndOfFileAndClosedAnswers) {
  test::TempDir dir;
  std::string path = dir.Join("five");
  WriteFile(dir.Join("empty"), "");
  WriteFile(path, "hello");
  char buffer[16] = {};
  std::unique_ptr<Input> input(CFile()->OpenInput(dir.Join("empty")));
  ASSERT_NE(input, nullptr);
  EXPECT_FALSE(input->IsEOF()) << "nothing has run into the end yet";
  EXPECT_EQ(input->Read(buffer, 1), 0);
  EXPECT_TRUE(input->IsEOF());

  input.reset(CFile()->OpenInput(path));
  ASSERT_NE(input, nullptr);
  EXPECT_EQ(input->Read(buffer, 5), 5);
  EXPECT_FALSE(input->IsEOF()) << "ended exactly at the last byte";
  EXPECT_EQ(input->Read(buffer, 1), 0);
  EXPECT_TRUE(input->IsEOF());
  EXPECT_EQ(input->Seek(1, SEEK_SET), 0);
  // Windows clears the indicator in fsetpos, on which the MinGW runtime
  // builds _fseeki64; Wine's fsetpos does not.
  if (!test::UnderWine()) {
    EXPECT_FALSE(input->IsEOF()) << "a successful seek clears the indicator";
  }
  EXPECT_EQ(input->Read(buffer, sizeof buffer), 4);
  EXPECT_TRUE(input->IsEOF());

  WriteFile(path, "hello world");
  input->Close();
  input->Close();
  EXPECT_TRUE(input->IsClosed());
  EXPECT_EQ(input->Tell(), 0);
  EXPECT_EQ(input->Seek(0, SEEK_SET), -1);
  EXPECT_EQ(input->GetSize(), 5) << "the size is taken once, at open";
  EXPECT_TRUE(input->IsEOF());
  EXPECT_EQ(input->Read(buffer, sizeof buffer), 0);
  int fd = 1234;
  int64_t offset = 5678;
  EXPECT_FALSE(input->GetDescriptor(&fd, &offset));
  EXPECT_TRUE(fd == 1234 && offset == 5678) << "left as they were";
  std::unique_ptr<Input> clone(input->Clone());
  ASSERT_NE(clone, nullptr) << "a closed stream can be cloned";
  EXPECT_EQ(clone->GetSize(), 11);
}

TEST(CFileStream, OutputTruncatesAndCountsWrittenBytes) {
  test::TempDir dir;
  std::string path = dir.Join("out");
  WriteFile(path, "old content that must go");
  std::unique_ptr<Output> output(CFile()->OpenOutput(path));
  ASSERT_NE(output, nullptr);
  EXPECT_EQ(test::ReadFile(path), "");
  EXPECT_EQ(output->Write("0123456789", 10), 10);
  EXPECT_EQ(output->GetSize(), 0);
  EXPECT_EQ(output->Tell(), 10) << "buffered bytes count";
  output->Close();
  EXPECT_EQ(test::ReadFile(path), "0123456789") << "closing flushes";
  EXPECT_EQ(output->Write("abc", 3), 0);
}

TEST(CFileStream, FailedOpensLeakNoDescriptor) {
  if (CountOpenDescriptors() < 0) GTEST_SKIP() << "descriptors not countable";
  test::TempDir dir;
  std::string missing = dir.Join("missing");
  int before = CountOpenDescriptors();
  for (int i = 0; i < 2000; ++i) {
    for (const std::string& path : {missing, dir.path(), std::string()}) {
      ASSERT_EQ(CFile()->OpenInput(path), nullptr) << path;
    }
    ASSERT_EQ(CFile()->OpenOutput(dir.path()), nullptr);
    ASSERT_EQ(CFile()->OpenOutput(missing + platform::kPathSeparator + "f"),
              nullptr);
  }
  EXPECT_EQ(CountOpenDescriptors(), before);
  EXPECT_FALSE(fs::exists(fs::u8path(missing))) << "no directory is made";
  delete CFile()->OpenOutput(missing);
  EXPECT_TRUE(fs::exists(fs::u8path(missing)));
  EXPECT_EQ(CountOpenDescriptors(), before) << "deleting closes the file";
}

}  // namespace
}  // namespace velm::io
