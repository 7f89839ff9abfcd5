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

bool OnWindows() { return platform::kPathSeparator == '\\'; }

std::string ReadAll(Input& input) {
  std::string bytes;
  char chunk[7];
  int64_t got;
  while ((got = input.Read(chunk, sizeof(chunk))) > 0) bytes.append(chunk, got);
  return bytes;
}

class SysStream : public ::testing::Test {
 protected:
  Opener* opener = GetOpener(OpenerTypeSys);
  TempDir dir;
};

TEST_F(SysStream, ReadsSeeksAndTellsThroughTheDescriptor) {
  std::string path = dir.Join("data.bin");
  WriteFile(path, "hello world");
  std::unique_ptr<Input> input(opener->OpenInput(path));
  ASSERT_NE(input, nullptr);
  EXPECT_FALSE(input->IsClosed());
  EXPECT_EQ(input->GetPath(), path);
  EXPECT_EQ(input->GetOpener(), opener);
  EXPECT_EQ(input->GetSize(), 11);
  EXPECT_EQ(input->Tell(), 0);
  EXPECT_FALSE(input->IsEOF());

  char buffer[16] = {};
  EXPECT_EQ(input->Read(buffer, 5), 5);
  EXPECT_EQ(std::string(buffer, 5), "hello");
  EXPECT_EQ(input->Read(buffer, 0), 0);
  EXPECT_EQ(input->Tell(), 5);

  int fd = -2;
  int64_t offset = -2;
  EXPECT_TRUE(input->GetDescriptor(&fd, &offset));
  EXPECT_EQ(offset, 0);
  EXPECT_EQ(platform::_lseeki64(fd, 0, SEEK_CUR), 5);

  EXPECT_EQ(input->Seek(-1, SEEK_END), 0);
  EXPECT_EQ(input->Tell(), 10);
  EXPECT_EQ(input->Seek(-4, SEEK_CUR), 0);
  EXPECT_EQ(input->Read(buffer, sizeof(buffer)), 5);
  EXPECT_EQ(std::string(buffer, 5), "world");
  EXPECT_TRUE(input->IsEOF());
  EXPECT_EQ(input->Read(buffer, sizeof(buffer)), 0);

  EXPECT_EQ(input->Seek(100, SEEK_SET), 0);
  EXPECT_TRUE(input->IsEOF());
  EXPECT_EQ(input->Read(buffer, sizeof(buffer)), 0);
  EXPECT_EQ(input->Seek(-1, SEEK_SET), -1);
  EXPECT_EQ(input->Seek(-101, SEEK_CUR), -1);
  EXPECT_EQ(input->Tell(), 100);
}

TEST_F(SysStream, EmptyFileAndGrowthAfterOpen) {
  std::string path = dir.Join("grow.bin");
  WriteFile(path, "");
  std::unique_ptr<Input> input(opener->OpenInput(path));
  ASSERT_NE(input, nullptr);
  EXPECT_EQ(input->GetSize(), 0);
  EXPECT_TRUE(input->IsEOF());
  char buffer[8];
  EXPECT_EQ(input->Read(buffer, sizeof(buffer)), 0);

  WriteFile(path, "abc");
  // The size is the one seen at open, though the new bytes can be read.
  EXPECT_EQ(input->GetSize(), 0);
  EXPECT_TRUE(input->IsEOF());
  EXPECT_EQ(ReadAll(*input), "abc");
}

TEST_F(SysStream, ClosedStreamAnswersAndStillClones) {
  std::string path = dir.Join("closed.bin");
  WriteFile(path, "0123456789");
  std::unique_ptr<Input> input(opener->OpenInput(path));
  ASSERT_NE(input, nullptr);
  char buffer[4];
  ASSERT_EQ(input->Read(buffer, 4), 4);
  input->Close();
  input->Close();
  EXPECT_TRUE(input->IsClosed());
  EXPECT_EQ(input->Tell(), 0);
  EXPECT_EQ(input->Seek(0, SEEK_SET), -1);
  EXPECT_EQ(input->GetSize(), 10);
  EXPECT_TRUE(input->IsEOF());
  EXPECT_EQ(input->Read(buffer, 4), 0);
  EXPECT_EQ(input->GetPath(), path);
  EXPECT_EQ(input->GetOpener(), opener);
  int fd = 7;
  int64_t offset = 7;
  EXPECT_FALSE(input->GetDescriptor(&fd, &offset));
  EXPECT_EQ(fd, -1);
  EXPECT_EQ(offset, 0);

  WriteFile(path, "abcdefghijklmnop");
  std::unique_ptr<Input> clone(input->Clone());
  ASSERT_NE(clone, nullptr);
  EXPECT_FALSE(clone->IsClosed());
  EXPECT_EQ(clone->GetSize(), 16);
  EXPECT_EQ(ReadAll(*clone), "abcdefghijklmnop");
  clone.reset();

  ASSERT_TRUE(fs::remove(fs::u8path(path)));
  EXPECT_EQ(input->Clone(), nullptr);
}

TEST_F(SysStream, CloneIsIndependentAndReopensRelativePathsAnew) {
  std::string path = dir.Join("clone.bin");
  WriteFile(path, "abcdef");
  std::unique_ptr<Input> input(opener->OpenInput(path));
  ASSERT_NE(input, nullptr);
  char buffer[3];
  ASSERT_EQ(input->Read(buffer, 3), 3);
  std::unique_ptr<Input> clone(input->Clone());
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->Tell(), 0);
  EXPECT_EQ(input->Tell(), 3);
  int fd = -1, clone_fd = -1;
  int64_t offset = 0;
  ASSERT_TRUE(input->GetDescriptor(&fd, &offset));
  ASSERT_TRUE(clone->GetDescriptor(&clone_fd, &offset));
  EXPECT_NE(fd, clone_fd);
  EXPECT_EQ(ReadAll(*clone), "abcdef");
  EXPECT_EQ(input->Tell(), 3);

  fs::path saved = fs::current_path();
  fs::create_directory(fs::u8path(dir.Join("one")));
  fs::create_directory(fs::u8path(dir.Join("two")));
  WriteFile(dir.Join("one") + platform::kPathSeparator + "f", "one");
  WriteFile(dir.Join("two") + platform::kPathSeparator + "f", "second");
  fs::current_path(fs::u8path(dir.Join("one")));
  std::unique_ptr<Input> relative(opener->OpenInput("f"));
  fs::current_path(fs::u8path(dir.Join("two")));
  std::unique_ptr<Input> moved(relative ? relative->Clone() : nullptr);
  fs::current_path(saved);
  ASSERT_NE(relative, nullptr);
  ASSERT_NE(moved, nullptr);
  EXPECT_EQ(moved->GetPath(), "f");
  EXPECT_EQ(moved->GetSize(), 6);
  EXPECT_EQ(ReadAll(*moved), "second");
}

TEST_F(SysStream, OutputCreatesOrEmptiesAndKeepsSizeZero) {
  std::string path = dir.Join("out.bin");
  WriteFile(path, "old content that goes");
  std::unique_ptr<Output> output(opener->OpenOutput(path));
  ASSERT_NE(output, nullptr);
  EXPECT_EQ(ReadFile(path), "");
  EXPECT_EQ(output->Write("new", 3), 3);
  EXPECT_EQ(output->Write("er", 2), 2);
  EXPECT_EQ(output->GetSize(), 0);
  EXPECT_TRUE(output->IsEOF());
  EXPECT_EQ(output->Tell(), 5);
  // Nothing is buffered: the bytes are in the file before Close.
  EXPECT_EQ(ReadFile(path), "newer");
  EXPECT_EQ(output->Seek(1, SEEK_SET), 0);
  EXPECT_EQ(output->Write("E", 1), 1);
  output->Close();
  EXPECT_EQ(output->Write("x", 1), 0);
  EXPECT_EQ(ReadFile(path), "nEwer");

  std::string fresh = dir.Join("fresh \xC3\xA9t\xC3\xA9.bin");
  std::unique_ptr<Output> created(opener->OpenOutput(fresh));
  ASSERT_NE(created, nullptr);
  EXPECT_EQ(created->Write("z", 1), 1);
  created.reset();
  EXPECT_EQ(ReadFile(fresh), "z");
  std::unique_ptr<Input> back(opener->OpenInput(fresh));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(ReadAll(*back), "z");
}

TEST_F(SysStream, FailedOpensGiveNull) {
  std::string missing_dir = dir.Join("nowhere") + platform::kPathSeparator + "f";
  EXPECT_EQ(opener->OpenInput(""), nullptr);
  EXPECT_EQ(opener->OpenOutput(""), nullptr);
  EXPECT_EQ(opener->OpenInput(dir.path()), nullptr);
  EXPECT_EQ(opener->OpenOutput(dir.path()), nullptr);
  EXPECT_EQ(opener->OpenInput(dir.Join("missing")), nullptr);
  EXPECT_EQ(opener->OpenOutput(missing_dir), nullptr);
  EXPECT_FALSE(fs::exists(fs::u8path(dir.Join("nowhere"))));
}

TEST_F(SysStream, NoDescriptorOutlivesAFailedOpenOrADeletedStream) {
  std::string path = dir.Join("f");
  WriteFile(path, "x");
  // Both kinds of system hand out the lowest free descriptor, so a leak
  // shows as a higher number for the next open.
  auto next_descriptor = [&] {
    std::unique_ptr<Input> input(opener->OpenInput(path));
    int fd = -1;
    int64_t offset = 0;
    if (input != nullptr) input->GetDescriptor(&fd, &offset);
    return fd;
  };
  int first = next_descriptor();
  ASSERT_NE(first, -1);
  int before = CountOpenDescriptors();
  for (int i = 0; i < 3000; ++i) {
    ASSERT_EQ(opener->OpenInput(dir.path()), nullptr);
    ASSERT_EQ(opener->OpenOutput(dir.path()), nullptr);
    ASSERT_EQ(opener->OpenInput(dir.Join("missing")), nullptr);
    delete opener->OpenInput(path);
    Input* closed = opener->OpenInput(path);
    closed->Close();
    delete closed;
  }
  EXPECT_EQ(next_descriptor(), first);
  // Under Windows the count would be of the emulator's own descriptors.
  if (before == -1 || OnWindows()) {
    GTEST_SKIP() << "open descriptors cannot be counted here";
  }
  EXPECT_EQ(CountOpenDescriptors(), before);
}

TEST_F(SysStream, LongPathsReachTheSystemWhole) {
  if (OnWindows()) {
    GTEST_SKIP() << "paths beyond MAX_PATH depend on the system's long-path "
                    "setting";
  }
  std::string deep = dir.path();
  for (int i = 0; i < 6; ++i) {
    deep += platform::kPathSeparator + std::string(100, char('a' + i));
    fs::create_directory(fs::u8path(deep));
  }
  std::string path = deep + platform::kPathSeparator + "file";
  ASSERT_GT(path.size(), 600u);
  std::unique_ptr<Output> output(opener->OpenOutput(path));
  ASSERT_NE(output, nullptr);
  EXPECT_EQ(output->Write("deep", 4), 4);
  output.reset();
  std::unique_ptr<Input> input(opener->OpenInput(path));
  ASSERT_NE(input, nullptr);
  EXPECT_EQ(ReadAll(*input), "deep");
}

TEST_F(SysStream, HugeCountsAreCutToWhatOneCallCanReport) {
  if (OnWindows()) {
    GTEST_SKIP() << "the system may check the whole of an oversized buffer";
  }
  std::string path = dir.Join("small");
  WriteFile(path, "0123456789");
  std::unique_ptr<Input> input(opener->OpenInput(path));
  ASSERT_NE(input, nullptr);
  char buffer[16];
  // The low 32 bits alone would ask for 5 bytes.
  EXPECT_EQ(input->Read(buffer, size_t{0x100000005}), 10);
}

TEST_F(SysStream, FailingWriteGivesMinusOneAndStaysOpen) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
  std::unique_ptr<Output> output(opener->OpenOutput("/dev/full"));
  ASSERT_NE(output, nullptr);
  EXPECT_EQ(output->Write("x", 1), -1);
  EXPECT_FALSE(output->IsClosed());
  EXPECT_EQ(output->Write("x", 1), -1);
}

}  // namespace
}  // namespace velm::io
