#include "workload.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>

#include "text_like.h"
#include "zip_writer.h"

namespace velm::bench {
namespace {

constexpr size_t kBigSize = size_t{64} << 20;
constexpr int kSmallCount = 10000;
constexpr int kFolders = 100;

std::string WriteFile(const std::string& folder, const char* name, const std::string& bytes) {
  std::string path = (std::filesystem::u8path(folder) / name).u8string();
  std::ofstream out(std::filesystem::u8path(path), std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out.flush()) Fail("cannot write " + path);
  return path;
}

// 2021-06-01 12:00:00: some readers take a zero date for a broken one.
zip::Record Dated(const std::string& name, const std::string& content, bool deflate) {
  zip::Record record(name, content, deflate ? zip::kMethodDeflated : zip::kMethodStored);
  record.dos_time = 12 << 11;
  record.dos_date = (41 << 9) | (6 << 5) | 1;
  return record;
}

}  // namespace

Workload WriteWorkload(const std::string& folder) {
  std::filesystem::create_directories(std::filesystem::u8path(folder));
  Workload work;
  std::mt19937 random(20240601);
  {
    std::string content = TextLike(random, kBigSize);
    zip::Record deflated = Dated("deflated", content, true);
    work.big_compressed = deflated.data.size();
    work.big = {{"deflated", kBigSize, deflated.crc}, {"stored", kBigSize, deflated.crc}};
    zip::Writer writer;
    writer.Add(deflated).Add(Dated("stored", content, false)).Finish();
    work.big_path = WriteFile(folder, "big.zip", writer.bytes);
  }

  zip::Writer writer;
  std::uniform_int_distribution<size_t> size(200, 8192);
  for (int i = 0; i < kSmallCount; ++i) {
    char name[64];
    std::snprintf(name, sizeof(name), "dir%02d/member%05d.txt", i % kFolders, i);
    std::string content = TextLike(random, size(random));
    zip::Record record = Dated(name, content, true);
    writer.Add(record);
    work.smalls.push_back({name, content.size(), record.crc});
    work.smalls_bytes += content.size();
    work.smalls_compressed += record.data.size();
  }
  work.smalls_path = WriteFile(folder, "smalls.zip", writer.Finish().bytes);
  return work;
}

}  // namespace velm::bench
