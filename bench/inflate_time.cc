// Times opening and reading the 64 MiB deflated member that bench/peers
// reads, through the shared library alone. A plain program, so that builds
// without Google Benchmark (the MinGW one, under Wine) can time it too.
//   inflate_time [RUNS]     each run in ms, then the median (9 runs unless given)

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <velm/io/opener>

#include "text_like.h"
#include "zip_writer.h"

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  namespace io = velm::io;
  constexpr size_t kSize = size_t{64} << 20;
  const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;

  // bench/peers draws its member first from the same seed: the same bytes.
  std::mt19937 random(20240601);
  velm::zip::Writer writer;
  writer.Deflated("deflated", velm::bench::TextLike(random, kSize)).Finish();
  const fs::path path = fs::temp_directory_path() /
                        ("velmio-inflate-time-" + std::to_string(std::random_device()()) + ".zip");
  std::ofstream(path, std::ios::binary)
      .write(writer.bytes.data(), static_cast<std::streamsize>(writer.bytes.size()));
  io::Opener* zip = io::LoadZip(path.u8string(), io::GetOpener(io::OpenerTypeMMap));
  if (zip == nullptr) {
    std::fprintf(stderr, "inflate_time: cannot load %s\n", path.u8string().c_str());
    return 1;
  }

  std::vector<char> buffer(1 << 20);
  std::vector<double> times;
  for (int run = 0; run < runs; ++run) {
    const auto start = std::chrono::steady_clock::now();
    std::unique_ptr<io::Input> input(zip->OpenInput("deflated"));
    size_t total = 0;
    for (int64_t got = 0; input && (got = input->Read(buffer.data(), buffer.size())) > 0;) {
      total += static_cast<size_t>(got);
    }
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    if (total != kSize) {
      std::fprintf(stderr, "inflate_time: read %zu bytes of %zu\n", total, kSize);
      return 1;
    }
    times.push_back(took.count());
    std::printf("run %d: %.1f ms\n", run + 1, took.count());
  }
  io::UnloadZip(zip);
  std::error_code error;
  fs::remove(path, error);

  std::sort(times.begin(), times.end());
  const double median = times[times.size() / 2];
  std::printf("64 MiB member (%.1f MiB deflated): median %.1f ms, %.0f MiB/s\n",
              static_cast<double>(writer.bytes.size()) / (1 << 20), median, 64 * 1000.0 / median);
  return 0;
}
