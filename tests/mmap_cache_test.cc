#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <velm/io/opener>
#include <velm/io/stream>

#include "mmap/input_mmap.h"
#include "mmap/mapped_file_cache.h"
#include "os/wide_path.h"
#include "platform/platform.h"
#include "support/test_support.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

using test::LogCapture;
using test::TempDir;
using test::WriteFile;

Opener* MMap() { return GetOpener(OpenerTypeMMap); }

bool IsWindows() { return platform::kPathSeparator == '\\'; }

platform::WideString Key(const std::string& path) {
  WidePath wide(path.c_str());
  return wide.text;
}

const char* View(const Input* input) {
  return static_cast<const InputMMap*>(input)->GetView();
}

// Views of the file in this process, from /proc/self/maps; -1 where there is
// no such file.
int CountMappings(const std::string& path) {
  std::ifstream maps("/proc/self/maps");
  if (!maps) return -1;
  std::string target = fs::canonical(fs::u8path(path)).u8string();
  int count = 0;
  std::string line;
  while (std::getline(maps, line)) {
    std::size_t at = line.find('/');
    if (at != std::string::npos && line.compare(at, std::string::npos, target) == 0) {
      ++count;
    }
  }
  return count;
}

std::size_t TableSize() {
  std::lock_guard<std::mutex> lock(MappedFileCacheLock);
  return MappedFileCache.size();
}

bool IsLive(const std::string& path) {
  std::lock_guard<std::mutex> lock(MappedFileCacheLock);
  auto found = MappedFileCache.find(Key(path));
  return found != MappedFileCache.end() && !found->second.view.expired();
}

bool HasEntry(const std::string& path) {
  std::lock_guard<std::mutex> lock(MappedFileCacheLock);
  return MappedFileCache.count(Key(path)) != 0;
}

void ClearTable() {
  std::lock_guard<std::mutex> lock(MappedFileCacheLock);
  MappedFileCache.clear();
}

// Adds count expired entries under made-up keys.
void AddExpired(int count) {
  std::lock_guard<std::mutex> lock(MappedFileCacheLock);
  for (int i = 0; i < count; ++i) {
    std::string name = "expired-" + std::to_string(i);
    MappedFileCache[platform::WideString(name.begin(), name.end())] = {};
  }
}

class MMapCache : public testing::Test {
 protected:
  void SetUp() override { ClearTable(); }
  void TearDown() override { ClearTable(); }
  TempDir dir;
};

TEST_F(MMapCache, OneMappingPerLivePath) {
  std::string path = dir.Join("f");
  WriteFile(path, "0123456789");
  std::unique_ptr<Input> first(MMap()->OpenInput(path));
  ASSERT_NE(first, nullptr);
  std::ofstream(fs::u8path(path), std::ios::app | std::ios::binary) << "more";
  std::unique_ptr<Input> second(MMap()->OpenInput(path));
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(View(first.get()), View(second.get()));
  EXPECT_EQ(second->GetSize(), 10) << "the live view is reused unchecked";
  EXPECT_EQ(TableSize(), 1u);
  if (!IsWindows()) {
    EXPECT_EQ(CountMappings(path), 1);
  }

  first.reset();
  EXPECT_TRUE(IsLive(path));
  if (!IsWindows()) {
    EXPECT_EQ(CountMappings(path), 1);
  }
  second.reset();
  EXPECT_FALSE(IsLive(path));
  EXPECT_TRUE(HasEntry(path)) << "expired, not erased";
  if (!IsWindows()) {
    EXPECT_EQ(CountMappings(path), 0);
  }

  std::unique_ptr<Input> again(MMap()->OpenInput(path));
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(again->GetSize(), 14) << "mapped anew";
  EXPECT_EQ(TableSize(), 1u);
}

TEST_F(MMapCache, EachSpellingOfAPathIsItsOwnMapping) {
  std::string path = dir.Join("f");
  WriteFile(path, "abc");
  const char separator = platform::kPathSeparator;
  std::vector<std::unique_ptr<Input>> inputs;
  for (const std::string& spelling :
       {path, dir.path() + separator + "." + separator + "f",
        dir.path() + separator + separator + "f"}) {
    inputs.emplace_back(MMap()->OpenInput(spelling));
    ASSERT_NE(inputs.back(), nullptr) << spelling;
  }
  EXPECT_EQ(TableSize(), 3u);
  EXPECT_NE(View(inputs[0].get()), View(inputs[1].get()));
  EXPECT_NE(View(inputs[1].get()), View(inputs[2].get()));
  if (!IsWindows()) {
    EXPECT_EQ(CountMappings(path), 3);
  }
}

TEST_F(MMapCache, FailuresAreLoggedAndLeaveNoEntry) {
  std::string empty = dir.Join("empty");
  WriteFile(empty, "");
  std::string missing = dir.Join("missing");
  unsigned int saved_channel = LogChannel;
  LogChannel = 7;
  for (const std::string& path : {empty, missing, std::string(), dir.path()}) {
    for (int attempt = 0; attempt < 2; ++attempt) {
      LogCapture capture;
      EXPECT_EQ(MMap()->OpenInput(path), nullptr) << path;
      ASSERT_EQ(capture.lines().size(), 1u) << path;
      EXPECT_TRUE(capture.lines()[0].is_error);
      EXPECT_EQ(capture.lines()[0].channel, 7u);
      EXPECT_EQ(capture.lines()[0].message, "Failed to open mmap file " + path);
      EXPECT_FALSE(HasEntry(path)) << path;
    }
  }
  LogChannel = saved_channel;
  EXPECT_EQ(TableSize(), 0u);
}

TEST_F(MMapCache, SweepStartsAboveOneThousandEntries) {
  std::string path = dir.Join("f");
  WriteFile(path, "abc");
  std::string other = dir.Join("g");
  WriteFile(other, "defg");

  AddExpired(1000);
  std::unique_ptr<Input> input(MMap()->OpenInput(path));
  ASSERT_NE(input, nullptr);
  EXPECT_EQ(TableSize(), 1001u) << "no sweep at exactly 1000";
  std::unique_ptr<Input> again(MMap()->OpenInput(path));
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(View(again.get()), View(input.get()));
  EXPECT_EQ(TableSize(), 1u) << "expired entries swept, the live one kept";

  AddExpired(1000);
  ASSERT_EQ(TableSize(), 1001u);
  std::unique_ptr<Input> fresh(MMap()->OpenInput(other));
  ASSERT_NE(fresh, nullptr);
  EXPECT_EQ(TableSize(), 2u);
  EXPECT_TRUE(IsLive(path));
  EXPECT_TRUE(IsLive(other));
}

TEST_F(MMapCache, SizeKeepsTheLow32Bits) {
  std::string path = dir.Join("big");
  WriteFile(path, "");
  // Sparse on the file systems the tests run on.
  fs::resize_file(fs::u8path(path), (uint64_t{1} << 32) + 10);
  std::unique_ptr<Input> input(MMap()->OpenInput(path));
  ASSERT_NE(input, nullptr);
  EXPECT_EQ(input->GetSize(), 10);
}

TEST_F(MMapCache, MapWholeFileNeedsTheFileUnopened) {
  if (!IsWindows()) {
    GTEST_SKIP() << "share modes do not exist on POSIX";
  }
  std::string path = dir.Join("f");
  WriteFile(path, "abc");
  uint64_t size = 0;
  char* view = nullptr;
  std::unique_ptr<Input> holder(GetOpener(OpenerTypeCFile)->OpenInput(path));
  ASSERT_NE(holder, nullptr);
  WidePath wide(path.c_str());
  EXPECT_EQ(MapWholeFile(wide.text, size, view), nullptr);
  holder.reset();
  platform::HANDLE mapping = MapWholeFile(wide.text, size, view);
  ASSERT_NE(mapping, nullptr);
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(std::string(view, 3), "abc");
  MMapDeleter{mapping, size}(view);
}

}  // namespace
}  // namespace velm::io
