#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <velm/io/opener>
#include <velm/io/stream>

#include "mmap/mapped_file_cache.h"
#include "platform/platform.h"
#include "support/test_support.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

using test::TempDir;
using test::WriteFile;

char Expected(int file, uint64_t offset) {
  return static_cast<char>((offset * 131 + static_cast<uint64_t>(file) * 17) & 0xFF);
}

int CountMappingsUnder(const std::string& directory) {
  std::ifstream maps("/proc/self/maps");
  if (!maps) return -1;
  std::string prefix = fs::canonical(fs::u8path(directory)).u8string();
  int count = 0;
  std::string line;
  while (std::getline(maps, line)) {
    if (line.find(prefix) != std::string::npos) ++count;
  }
  return count;
}

// Inputs handed between threads, so that a view's last reference is often
// dropped by a thread other than the one that opened it.
class Exchange {
 public:
  std::unique_ptr<Input> Swap(std::size_t slot, std::unique_ptr<Input> input) {
    std::lock_guard<std::mutex> lock(mutex);
    slots[slot % slots.size()].swap(input);
    return input;
  }
  void Clear() {
    std::lock_guard<std::mutex> lock(mutex);
    for (auto& slot : slots) slot.reset();
  }

 private:
  std::mutex mutex;
  std::array<std::unique_ptr<Input>, 16> slots;
};

TEST(MMapStress, ManyThreadsShareAndDropViews) {
  constexpr int kFiles = 4;
  constexpr int kThreads = 8;
  TempDir dir;
  std::vector<std::string> paths;
  std::vector<uint64_t> sizes;
  for (int file = 0; file < kFiles; ++file) {
    uint64_t size = 4096 * (file + 1) + 17 * file + 1;
    std::string bytes(size, '\0');
    for (uint64_t i = 0; i < size; ++i) bytes[i] = Expected(file, i);
    paths.push_back(dir.Join("file" + std::to_string(file)));
    sizes.push_back(size);
    WriteFile(paths.back(), bytes);
  }
  Opener* opener = GetOpener(OpenerTypeMMap);
  Exchange exchange;
  std::atomic<bool> stop{false};
  std::atomic<long> failures{0};
  std::atomic<long> bytes_checked{0};

  auto work = [&](unsigned seed) {
    std::mt19937_64 random(seed);
    std::vector<char> buffer(1024);
    while (!stop.load(std::memory_order_relaxed)) {
      int file = static_cast<int>(random() % kFiles);
      std::unique_ptr<Input> input(opener->OpenInput(paths[file]));
      if (input == nullptr || input->GetSize() != static_cast<int64_t>(sizes[file])) {
        ++failures;
        continue;
      }
      if (random() % 2 == 0) input.reset(input->Clone());
      for (int round = 0; round < 4; ++round) {
        uint64_t at = random() % sizes[file];
        if (input->Seek(static_cast<int64_t>(at), SEEK_SET) != 0) {
          ++failures;
          break;
        }
        int64_t got = input->Read(buffer.data(), buffer.size());
        uint64_t want = std::min<uint64_t>(buffer.size(), sizes[file] - at);
        if (got != static_cast<int64_t>(want)) ++failures;
        for (int64_t i = 0; i < got; ++i) {
          if (buffer[i] != Expected(file, at + i)) {
            ++failures;
            break;
          }
        }
        bytes_checked += got;
      }
      if (random() % 3 == 0) input->Close();
      // Whatever comes back from the slot goes here, maybe as the last
      // reference to its view.
      exchange.Swap(random(), std::move(input));
    }
  };

  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, 1000u + i);
  std::this_thread::sleep_for(std::chrono::seconds(2));
  stop = true;
  for (auto& thread : threads) thread.join();
  exchange.Clear();

  EXPECT_EQ(failures.load(), 0);
  EXPECT_GT(bytes_checked.load(), 0);
  {
    std::lock_guard<std::mutex> lock(MappedFileCacheLock);
    for (const auto& entry : MappedFileCache) {
      EXPECT_TRUE(entry.second.view.expired());
    }
  }
  if (platform::kPathSeparator == '/') {
    EXPECT_EQ(CountMappingsUnder(dir.path()), 0);
  }
}

}  // namespace
}  // namespace velm::io
