#include "workload.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>

#include "archive_writer.h"

namespace velm::bench {
namespace {

constexpr size_t kBigSize = size_t{64} << 20;
constexpr int kSmallCount = 10000;
constexpr int kFolders = 100;

std::string WriteFile(const std::string& folder, const char* name,
                      const std::string& bytes) {
  std::string path = (std::filesystem::u8path(folder) / name).u8string();
  std::ofstream out(std::filesystem::u8path(path), std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out.flush()) Fail("cannot write " + path);
  return path;
}

}  // namespace

Workload WriteWorkload(const std::string& folder) {
  std::filesystem::create_directories(std::filesystem::u8path(folder));
  Workload work;
  std::mt19937 random(20240601);
  ZipWriter writer;
  {
    std::string content = TextLike(random, kBigSize);
    uint32_t crc = Crc32(content);
    writer.Add("deflated", content, true);
    work.big_compressed = writer.data_bytes();
    writer.Add("stored", content, false);
    work.big = {{"deflated", kBigSize, crc}, {"stored", kBigSize, crc}};
  }
  work.big_path = WriteFile(folder, "big.zip", writer.Finish());

  std::uniform_int_distribution<size_t> size(200, 8192);
  for (int i = 0; i < kSmallCount; ++i) {
    char name[64];
    std::snprintf(name, sizeof(name), "dir%02d/member%05d.txt", i % kFolders,
                  i);
    std::string content = TextLike(random, size(random));
    writer.Add(name, content, true);
    work.smalls.push_back({name, content.size(), Crc32(content)});
    work.smalls_bytes += content.size();
  }
  work.smalls_compressed = writer.data_bytes();
  work.smalls_path = WriteFile(folder, "smalls.zip", writer.Finish());
  return work;
}

}  // namespace velm::bench
