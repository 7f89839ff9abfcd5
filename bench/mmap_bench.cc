#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <velm/io/opener>
#include <velm/io/stream>

#include "mmap/input_mmap.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

constexpr std::size_t kLargeSize = std::size_t{256} << 20;

// A file of the given size below the temporary folder, made once per size
// and removed at exit.
class BenchFile {
 public:
  explicit BenchFile(std::size_t size) {
    path = (fs::temp_directory_path() / ("velmio-mmap-bench-" + std::to_string(size))).u8string();
    std::ofstream out(fs::u8path(path), std::ios::binary | std::ios::trunc);
    std::vector<char> chunk(1 << 20);
    for (std::size_t i = 0; i < chunk.size(); ++i) {
      chunk[i] = static_cast<char>(i * 131);
    }
    for (std::size_t left = size; left > 0;) {
      std::size_t n = left < chunk.size() ? left : chunk.size();
      out.write(chunk.data(), static_cast<std::streamsize>(n));
      left -= n;
    }
  }
  ~BenchFile() {
    std::error_code error;
    fs::remove(fs::u8path(path), error);
  }
  std::string path;
};

const std::string& SmallFile() {
  static BenchFile file(4096);
  return file.path;
}

const std::string& LargeFile() {
  static BenchFile file(kLargeSize);
  return file.path;
}

Opener* MMap() { return GetOpener(OpenerTypeMMap); }

// The view stays live through `keep`, so every open is a table hit.
void BM_OpenLivePath(benchmark::State& state) {
  std::unique_ptr<Input> keep(MMap()->OpenInput(SmallFile()));
  if (keep == nullptr) {
    state.SkipWithError("open failed");
    return;
  }
  for (auto _ : state) {
    std::unique_ptr<Input> input(MMap()->OpenInput(SmallFile()));
    benchmark::DoNotOptimize(input.get());
  }
}
BENCHMARK(BM_OpenLivePath);

// No live view: every open maps the file and unmaps it again.
void BM_OpenColdPath(benchmark::State& state) {
  for (auto _ : state) {
    std::unique_ptr<Input> input(MMap()->OpenInput(SmallFile()));
    benchmark::DoNotOptimize(input.get());
  }
}
BENCHMARK(BM_OpenColdPath);

void BM_Clone(benchmark::State& state) {
  std::unique_ptr<Input> input(MMap()->OpenInput(SmallFile()));
  if (input == nullptr) {
    state.SkipWithError("open failed");
    return;
  }
  for (auto _ : state) {
    std::unique_ptr<Input> clone(input->Clone());
    benchmark::DoNotOptimize(clone.get());
  }
}
BENCHMARK(BM_Clone);

// Reads the whole 256 MiB file in chunks of state.range(0) bytes.
void BM_ReadInputMMap(benchmark::State& state) {
  std::unique_ptr<Input> input(MMap()->OpenInput(LargeFile()));
  if (input == nullptr) {
    state.SkipWithError("open failed");
    return;
  }
  std::vector<char> buffer(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    input->Seek(0, SEEK_SET);
    while (input->Read(buffer.data(), buffer.size()) > 0) {}
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kLargeSize));
}
BENCHMARK(BM_ReadInputMMap)->Arg(4 << 10)->Arg(1 << 20);

// The same bytes, copied straight out of the view.
void BM_MemcpyView(benchmark::State& state) {
  std::unique_ptr<Input> input(MMap()->OpenInput(LargeFile()));
  if (input == nullptr) {
    state.SkipWithError("open failed");
    return;
  }
  const char* view = static_cast<InputMMap*>(input.get())->GetView();
  auto chunk = static_cast<std::size_t>(state.range(0));
  std::vector<char> buffer(chunk);
  for (auto _ : state) {
    for (std::size_t at = 0; at < kLargeSize; at += chunk) {
      std::memcpy(buffer.data(), view + at, chunk);
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kLargeSize));
}
BENCHMARK(BM_MemcpyView)->Arg(4 << 10)->Arg(1 << 20);

}  // namespace
}  // namespace velm::io
