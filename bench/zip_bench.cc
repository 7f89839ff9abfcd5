// Loading an archive of 10,000 members, and opening plus reading a 16 MiB
// deflated and a 16 MiB stored member, through each OS back-end. The
// archives are written to a temporary folder at startup.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <velm/io/opener>
#include <velm/log/log>

#include "text_like.h"
#include "zip_writer.h"

namespace fs = std::filesystem;
using velm::io::GetOpener;
using velm::io::Input;
using velm::io::Opener;
using velm::io::OpenerType;

namespace {

constexpr size_t kBigMember = 16 << 20;

struct Archives {
  fs::path dir;
  std::string many;  // 10,000 small members
  std::string big;   // "deflated" and "stored", 16 MiB each

  Archives() {
    dir =
        fs::temp_directory_path() / ("velmio-zip-bench-" + std::to_string(std::random_device()()));
    fs::create_directories(dir);
    velm::zip::Writer writer;
    for (int i = 0; i < 10000; ++i) {
      writer.Add(
          velm::zip::Record("dir" + std::to_string(i % 100) + "/file" + std::to_string(i),
                            "content of member " + std::to_string(i),
                            i % 2 == 0 ? velm::zip::kMethodDeflated : velm::zip::kMethodStored));
    }
    many = Write("many.zip", writer.Finish().bytes);

    std::mt19937 random(7);
    std::string content = velm::bench::TextLike(random, kBigMember);
    velm::zip::Writer big_writer;
    big_writer.Deflated("deflated", content).Stored("stored", content);
    big = Write("big.zip", big_writer.Finish().bytes);
  }
  ~Archives() {
    std::error_code error;
    fs::remove_all(dir, error);
  }
  std::string Write(const std::string& name, const std::string& bytes) {
    fs::path path = dir / name;
    std::ofstream(path, std::ios::binary).write(bytes.data(), bytes.size());
    return path.u8string();
  }
};

Archives& GetArchives() {
  static Archives archives;
  return archives;
}

void NoSink(void*, unsigned int, int, bool, const char*) {}

void BM_LoadZip10000(benchmark::State& state) {
  velm::log::SetSink(NoSink, nullptr);
  Opener* os = GetOpener(static_cast<OpenerType>(state.range(0)));
  for (auto _ : state) {
    Opener* zip = velm::io::LoadZip(GetArchives().many, os);
    if (!zip) state.SkipWithError("LoadZip failed");
    velm::io::UnloadZip(zip);
  }
  state.SetLabel(os->GetName());
  state.SetItemsProcessed(state.iterations() * 10000);
  velm::log::SetSink(nullptr, nullptr);
}

void ReadMember(benchmark::State& state, const char* member) {
  Opener* os = GetOpener(static_cast<OpenerType>(state.range(0)));
  Opener* zip = velm::io::LoadZip(GetArchives().big, os);
  if (!zip) {
    state.SkipWithError("LoadZip failed");
    return;
  }
  std::vector<char> buffer(1 << 20);
  for (auto _ : state) {
    std::unique_ptr<Input> input(zip->OpenInput(member));
    size_t total = 0;
    while (int64_t got = input->Read(buffer.data(), buffer.size())) {
      if (got < 0) break;
      total += static_cast<size_t>(got);
    }
    if (total != kBigMember) state.SkipWithError("short member");
  }
  velm::io::UnloadZip(zip);
  state.SetLabel(os->GetName());
  state.SetBytesProcessed(state.iterations() * kBigMember);
}

void BM_ReadDeflated16MiB(benchmark::State& state) { ReadMember(state, "deflated"); }
void BM_ReadStored16MiB(benchmark::State& state) { ReadMember(state, "stored"); }

// 0 sys, 1 cfile, 2 mmap.
BENCHMARK(BM_LoadZip10000)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadDeflated16MiB)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadStored16MiB)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
