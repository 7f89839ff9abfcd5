// The table of mapped files, by what its users can see.
#include <array>
#include <atomic>
#include <fstream>
#include <mutex>
#include <random>
#include <thread>

#include "mmap/mapped_file_cache.h"
#include "support/support.h"

namespace velm::io {
namespace {

using namespace test;

Opener* MMap() { return GetOpener(OpenerTypeMMap); }

// Maps and drops that many files of dir, which leaves their entries expired;
// returns the size of the table.
size_t TableSize(const TempDir* dir = nullptr, int expired = 0) {
  for (int i = 0; i < expired; ++i) {
    const std::string file = dir->Join("expired-" + std::to_string(i));
    WriteFile(file, "x");
    EXPECT_TRUE(std::unique_ptr<Input>(MMap()->OpenInput(file))) << file;
  }
  return MappedFiles().EntryCount();
}

// A mapped file can grow, never shrink, on Windows.
void Append(const std::string& path) { std::ofstream(fs::u8path(path), std::ios::app) << "more"; }

class MMapCache : public testing::Test {
 protected:
  void SetUp() override { TearDown(); }
  void TearDown() override { MappedFiles().Clear(); }
  TempDir dir;
  const std::string path = (WriteFile(dir.Join("f"), "0123456789"), dir.Join("f"));
};

// While an input lives its path reuses its view, unchecked; once the last is
// gone the file is mapped anew. Each spelling of a path is a key of its own.
TEST_F(MMapCache, OneMappingPerLiveSpellingOfAPath) {
  std::unique_ptr<Input> first(MMap()->OpenInput(path));
  ASSERT_TRUE(first);
  Append(path);
  std::unique_ptr<Input> second(MMap()->OpenInput(path));
  char byte;
  ASSERT_TRUE(second && second->GetSize() == 10 && first->Seek(5, 0) == 0 && second->Read(&byte, 1) == 1);
  EXPECT_TRUE(byte == '0' && first->Tell() == 5) << "positions are the stream's own";
  first.reset();
  EXPECT_EQ(Mappings(path), OnWindows() ? -1 : 1);
  EXPECT_EQ(ReadAll(second.get()), "123456789");
  second.reset();
  EXPECT_EQ(Mappings(path), OnWindows() ? -1 : 0);
  std::vector<std::unique_ptr<Input>> inputs;
  for (const std::string& spelling : {path, dir.path + kSep + "." + kSep + "f", dir.path + kSep + kSep + "f"}) {
    inputs.emplace_back(MMap()->OpenInput(spelling));
    EXPECT_TRUE(inputs.back() && inputs.back()->GetSize() == 14) << spelling;
  }
  EXPECT_EQ(TableSize(), 3u);
  EXPECT_EQ(Mappings(path), OnWindows() ? -1 : 3);
}

// Expired entries are swept by an open that finds more than 1000 entries;
// live ones never are.
TEST_F(MMapCache, ExpiredEntriesAreSweptLiveOnesKept) {
  WriteFile(dir.Join("g"), "abc");
  std::unique_ptr<Input> live(MMap()->OpenInput(path));
  ASSERT_EQ(TableSize(&dir, 999), 1000u);
  Append(path);
  std::unique_ptr<Input> fresh(MMap()->OpenInput(dir.Join("g")));
  EXPECT_EQ(TableSize(), 1001u) << "no sweep at exactly 1000 entries";
  std::unique_ptr<Input> again(MMap()->OpenInput(path));
  ASSERT_TRUE(live && fresh && again);
  EXPECT_EQ(again->GetSize(), 10) << "the live view was kept";
  EXPECT_EQ(TableSize(), 2u);
}

TEST_F(MMapCache, FailuresAreLoggedAndLeaveNoEntry) {
  WriteFile(dir.Join("empty"), "");
  LogChannel = 7;
  for (const std::string& bad : {dir.Join("empty"), dir.Join("missing"), std::string(), dir.path}) {
    for (int attempt = 0; attempt < 2; ++attempt) {
      LogCapture log;
      EXPECT_EQ(MMap()->OpenInput(bad), nullptr) << bad;
      ASSERT_EQ(log.lines.size(), 1u) << bad;
      EXPECT_TRUE(log.lines[0].is_error && log.lines[0].channel == 7u);
      EXPECT_EQ(log.lines[0].message, "Failed to open mmap file " + bad);
      EXPECT_EQ(TableSize(), 0u) << bad;
    }
  }
  LogChannel = 0;
  // Windows maps only a file that nobody holds open.
  std::unique_ptr<Input> holder(GetOpener(OpenerTypeCFile)->OpenInput(path));
  EXPECT_EQ(std::unique_ptr<Input>(MMap()->OpenInput(path)) == nullptr, OnWindows());
}

// Inputs are handed between threads, so that a view's last reference is often
// dropped by a thread other than the one that opened it.
TEST(MMapStress, ManyThreadsShareAndDropViews) {
  TempDir dir;
  auto size = [](int file) { return 4096 * (file + 1) + 17 * file + 1; };
  auto expected = [](int file, int64_t at) { return static_cast<char>(at * 131 + file * 17); };
  for (int file = 0; file < 4; ++file) {
    std::string bytes(size(file), '\0');
    for (int64_t i = 0; i < size(file); ++i) bytes[i] = expected(file, i);
    WriteFile(dir.Join(std::to_string(file)), bytes);
  }
  std::mutex slots_lock;
  std::array<std::unique_ptr<Input>, 16> slots;
  std::atomic<bool> stop{false};
  std::atomic<long> failures{0}, bytes_checked{0};
  auto work = [&](unsigned seed) {
    std::mt19937_64 random(seed);
    char buffer[1024];
    while (!stop.load(std::memory_order_relaxed)) {
      const int file = static_cast<int>(random() % 4);
      std::unique_ptr<Input> input(MMap()->OpenInput(dir.Join(std::to_string(file))));
      if (!input || input->GetSize() != size(file)) { ++failures; continue; }
      if (random() % 2 == 0) input.reset(input->Clone());
      for (int round = 0; round < 4; ++round) {
        const int64_t at = static_cast<int64_t>(random() % size(file));
        failures += input->Seek(at, 0) != 0;
        const int64_t got = input->Read(buffer, sizeof buffer);
        failures += got != std::min<int64_t>(sizeof buffer, size(file) - at);
        for (int64_t i = 0; i < got; ++i) failures += buffer[i] != expected(file, at + i);
        bytes_checked += got;
      }
      if (random() % 3 == 0) input->Close();
      std::lock_guard<std::mutex> lock(slots_lock);
      slots[random() % slots.size()].swap(input);  // what comes back goes here
    }
  };
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < 8; ++i) threads.emplace_back(work, 1000 + i);
  std::this_thread::sleep_for(std::chrono::seconds(2));
  stop = true;
  for (auto& thread : threads) thread.join();
  for (auto& slot : slots) slot.reset();
  EXPECT_TRUE(failures == 0 && bytes_checked > 0) << failures;
  EXPECT_EQ(Mappings(dir.path), OnWindows() ? -1 : 0);
}

}  // namespace
}  // namespace velm::io
