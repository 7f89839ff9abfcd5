#include <gtest/gtest.h>

#include <algorithm>
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

int64_t Size(int file) { return 4096 * (file + 1) + 17 * file + 1; }
char Expected(int file, uint64_t offset) {
  return static_cast<char>((offset * 131 + file * 17) & 0xFF);
}

// Inputs are handed between threads, so that a view's last reference is often
// dropped by a thread other than the one that opened it.
TEST(MMapStress, ManyThreadsShareAndDropViews) {
  constexpr int kFiles = 4, kThreads = 8;
  test::TempDir dir;
  std::vector<std::string> paths;
  for (int file = 0; file < kFiles; ++file) {
    std::string bytes(Size(file), '\0');
    for (uint64_t i = 0; i < bytes.size(); ++i) bytes[i] = Expected(file, i);
    paths.push_back(dir.Join("file" + std::to_string(file)));
    test::WriteFile(paths.back(), bytes);
  }
  std::mutex slots_lock;
  std::array<std::unique_ptr<Input>, 16> slots;
  std::atomic<bool> stop{false};
  std::atomic<long> failures{0}, bytes_checked{0};

  auto work = [&](unsigned seed) {
    std::mt19937_64 random(seed);
    std::vector<char> buffer(1024);
    while (!stop.load(std::memory_order_relaxed)) {
      int file = static_cast<int>(random() % kFiles);
      std::unique_ptr<Input> input(
          GetOpener(OpenerTypeMMap)->OpenInput(paths[file]));
      if (input == nullptr || input->GetSize() != Size(file)) {
        ++failures;
        continue;
      }
      if (random() % 2 == 0) input.reset(input->Clone());
      for (int round = 0; round < 4; ++round) {
        int64_t at = static_cast<int64_t>(random() % Size(file));
        failures += input->Seek(at, SEEK_SET) != 0;
        int64_t got = input->Read(buffer.data(), buffer.size());
        failures += got != std::min<int64_t>(buffer.size(), Size(file) - at);
        for (int64_t i = 0; i < got; ++i) {
          failures += buffer[i] != Expected(file, at + i);
        }
        bytes_checked += got;
      }
      if (random() % 3 == 0) input->Close();
      std::lock_guard<std::mutex> lock(slots_lock);
      // What comes back leaves scope here, maybe as its view's last reference.
      slots[random() % slots.size()].swap(input);
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, 1000u + i);
  std::this_thread::sleep_for(std::chrono::seconds(2));
  stop = true;
  for (auto& thread : threads) thread.join();
  for (auto& slot : slots) slot.reset();

  EXPECT_EQ(failures.load(), 0);
  EXPECT_GT(bytes_checked.load(), 0);
  std::lock_guard<std::mutex> lock(MappedFileCacheLock);
  for (const auto& entry : MappedFileCache) {
    EXPECT_TRUE(entry.second.view.expired());
  }
  if (platform::kPathSeparator == '\\') return;
  std::ifstream maps("/proc/self/maps");
  std::string prefix = fs::canonical(fs::u8path(dir.path())).u8string();
  for (std::string line; std::getline(maps, line);) {
    EXPECT_EQ(line.find(prefix), std::string::npos) << "still mapped: " << line;
  }
}

}  // namespace
}  // namespace velm::io
