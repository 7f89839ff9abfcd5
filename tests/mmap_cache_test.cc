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

using test::WriteFile;

Opener* MMap() { return GetOpener(OpenerTypeMMap); }
const char* View(const Input* input) {
  return static_cast<const InputMMap*>(input)->GetView();
}

// Views of the file in this process, from /proc/self/maps (Linux only).
void ExpectMappings(const std::string& path, int expected) {
  if (platform::kPathSeparator == '\\') return;
  std::ifstream maps("/proc/self/maps");
  std::string target = fs::canonical(fs::u8path(path)).u8string(), line;
  int count = 0;
  while (std::getline(maps, line)) {
    std::size_t at = line.find('/');
    count += at != std::string::npos && line.substr(at) == target;
  }
  EXPECT_EQ(count, expected) << path;
}

// Adds `expired` entries that no view backs; returns the table's size.
std::size_t TableSize(int expired = 0) {
  std::lock_guard<std::mutex> lock(MappedFileCacheLock);
  for (int i = 0; i < expired; ++i) {
    std::string name = "expired-" + std::to_string(i);
    MappedFileCache[platform::WideString(name.begin(), name.end())] = {};
  }
  return MappedFileCache.size();
}

class MMapCache : public testing::Test {
 protected:
  void SetUp() override { TearDown(); }
  void TearDown() override {
    std::lock_guard<std::mutex> lock(MappedFileCacheLock);
    MappedFileCache.clear();
  }
  test::TempDir dir;
};

TEST_F(MMapCache, OneMappingPerLiveSpellingOfAPath) {
  std::string path = dir.Join("f");
  WriteFile(path, "0123456789");
  std::unique_ptr<Input> first(MMap()->OpenInput(path));
  ASSERT_NE(first, nullptr);
  // Appended, as a mapped file cannot be truncated on Windows.
  std::ofstream(fs::u8path(path), std::ios::app | std::ios::binary) << "more";
  std::unique_ptr<Input> second(MMap()->OpenInput(path));
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(View(first.get()), View(second.get()));
  EXPECT_EQ(second->GetSize(), 10) << "the live view is reused unchecked";
  first.reset();
  ExpectMappings(path, 1);
  second.reset();
  ExpectMappings(path, 0);

  const char separator = platform::kPathSeparator;
  std::vector<std::unique_ptr<Input>> inputs;
  for (const std::string& spelling :
       {path, dir.path() + separator + "." + separator + "f",
        dir.path() + separator + separator + "f"}) {
    inputs.emplace_back(MMap()->OpenInput(spelling));
    ASSERT_NE(inputs.back(), nullptr) << spelling;
  }
  EXPECT_EQ(inputs[0]->GetSize(), 14) << "mapped anew";
  EXPECT_EQ(TableSize(), 3u);
  EXPECT_NE(View(inputs[0].get()), View(inputs[1].get()));
  ExpectMappings(path, 3);
}

TEST_F(MMapCache, FailuresAreLoggedAndLeaveNoEntry) {
  std::string empty = dir.Join("empty");
  WriteFile(empty, "");
  unsigned int saved_channel = LogChannel;
  LogChannel = 7;
  for (const std::string& path :
       {empty, dir.Join("missing"), std::string(), dir.path()}) {
    for (int attempt = 0; attempt < 2; ++attempt) {
      test::LogCapture capture;
      EXPECT_EQ(MMap()->OpenInput(path), nullptr) << path;
      ASSERT_EQ(capture.lines().size(), 1u) << path;
      const test::LogCapture::Line& line = capture.lines()[0];
      EXPECT_TRUE(line.is_error && line.channel == 7u);
      EXPECT_EQ(line.message, "Failed to open mmap file " + path);
      EXPECT_EQ(TableSize(), 0u) << path;
    }
  }
  LogChannel = saved_channel;
}

TEST_F(MMapCache, SweepStartsAboveOneThousandEntries) {
  std::string path = dir.Join("f"), other = dir.Join("g");
  WriteFile(path, "abc");
  WriteFile(other, "defg");
  ASSERT_EQ(TableSize(1000), 1000u);
  std::unique_ptr<Input> input(MMap()->OpenInput(path));
  ASSERT_NE(input, nullptr);
  EXPECT_EQ(TableSize(), 1001u) << "no sweep at exactly 1000";
  std::unique_ptr<Input> again(MMap()->OpenInput(path));
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(View(again.get()), View(input.get()));
  EXPECT_EQ(TableSize(), 1u) << "expired entries swept, the live one kept";

  ASSERT_EQ(TableSize(1000), 1001u);
  std::unique_ptr<Input> fresh(MMap()->OpenInput(other));
  ASSERT_NE(fresh, nullptr);
  EXPECT_EQ(TableSize(), 2u) << "the live entry and the new one";
}

TEST_F(MMapCache, MapWholeFileNeedsTheFileUnopened) {
  if (platform::kPathSeparator == '/') {
    GTEST_SKIP() << "share modes do not exist on POSIX";
  }
  std::string path = dir.Join("f");
  WriteFile(path, "abc");
  uint64_t size = 0;
  char* view = nullptr;
  std::unique_ptr<Input> holder(GetOpener(OpenerTypeCFile)->OpenInput(path));
  WidePath wide(path.c_str());
  EXPECT_EQ(MapWholeFile(wide.text, size, view), nullptr);
  holder.reset();
  platform::HANDLE mapping = MapWholeFile(wide.text, size, view);
  ASSERT_TRUE(mapping != nullptr && view != nullptr);
  EXPECT_EQ(std::string(view, 3), "abc");
  MMapDeleter{mapping}(view);
}

}  // namespace
}  // namespace velm::io
