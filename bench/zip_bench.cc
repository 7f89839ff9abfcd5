// Loading an archive of 10,000 members, and opening plus reading a 16 MiB
// deflated and a 16 MiB stored member, through each OS back-end. The
// archives are written to a temporary folder at startup.

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <velm/io/opener>
#include <velm/log/log>

namespace fs = std::filesystem;
using velm::io::GetOpener;
using velm::io::Input;
using velm::io::Opener;
using velm::io::OpenerType;

namespace {

constexpr size_t kBigMember = 16 << 20;

void Put16(std::string& out, uint32_t value) {
  out.push_back(static_cast<char>(value & 0xff));
  out.push_back(static_cast<char>(value >> 8));
}

void Put32(std::string& out, uint32_t value) {
  Put16(out, value & 0xffff);
  Put16(out, value >> 16);
}

void AddRecord(std::string& archive, const std::string& name,
               const std::string& content, bool compress) {
  std::string data = content;
  if (compress) {
    z_stream stream = {};
    deflateInit2(&stream, 6, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    data.assign(deflateBound(&stream, static_cast<uLong>(content.size())), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(&data[0]);
    stream.avail_out = static_cast<uInt>(data.size());
    deflate(&stream, Z_FINISH);
    data.resize(stream.total_out);
    deflateEnd(&stream);
  }
  Put32(archive, 0x04034b50);
  Put16(archive, 20);
  Put16(archive, 0);
  Put16(archive, compress ? 8 : 0);
  Put32(archive, 0);
  Put32(archive, static_cast<uint32_t>(
                     crc32(0, reinterpret_cast<const Bytef*>(content.data()),
                           static_cast<uInt>(content.size()))));
  Put32(archive, static_cast<uint32_t>(data.size()));
  Put32(archive, static_cast<uint32_t>(content.size()));
  Put16(archive, static_cast<uint32_t>(name.size()));
  Put16(archive, 0);
  archive += name;
  archive += data;
}

struct Archives {
  fs::path dir;
  std::string many;  // 10,000 small members
  std::string big;   // "deflated" and "stored", 16 MiB each

  Archives() {
    dir = fs::temp_directory_path() /
          ("velmio-zip-bench-" + std::to_string(std::random_device()()));
    fs::create_directories(dir);
    std::string archive;
    for (int i = 0; i < 10000; ++i) {
      AddRecord(archive,
                "dir" + std::to_string(i % 100) + "/file" + std::to_string(i),
                "content of member " + std::to_string(i), i % 2 == 0);
    }
    many = Write("many.zip", archive);

    // Text-like content that deflates to about a quarter of its size.
    std::mt19937 random(7);
    std::string content;
    content.reserve(kBigMember);
    while (content.size() < kBigMember)
      content += "word" + std::to_string(random() % 5000) + " ";
    content.resize(kBigMember);
    archive.clear();
    AddRecord(archive, "deflated", content, true);
    AddRecord(archive, "stored", content, false);
    big = Write("big.zip", archive);
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

void BM_ReadDeflated16MiB(benchmark::State& state) {
  ReadMember(state, "deflated");
}
void BM_ReadStored16MiB(benchmark::State& state) { ReadMember(state, "stored"); }

// 0 sys, 1 cfile, 2 mmap.
BENCHMARK(BM_LoadZip10000)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadDeflated16MiB)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadStored16MiB)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
