#include "real_archives.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#include <velm/io/opener>

#ifdef VELMIO_PEERS_FLOOR
#include <libdeflate.h>
#endif

namespace velm::bench {
namespace {

uint64_t Get(const std::string& bytes, size_t at, int width) {
  uint64_t value = 0;
  for (int i = width; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

// One member as the central directory gives it, where its local header is.
struct Member {
  Entry entry;
  uint64_t header = 0;
  uint64_t compressed = 0;
  int method = 0;
};

struct Archive {
  std::string path;
  std::string bytes;
  std::vector<Member> members;
  std::vector<Entry> entries;
};

// The stored and deflated files of the central directory, without Zip64
// (no real archive here needs it) and without what the engine cannot reach
// by name: directories, encrypted members, names it refuses.
Archive ListArchive(const std::string& path, io::Opener& zip) {
  Archive archive;
  archive.path = path;
  std::ifstream file(path, std::ios::binary);
  archive.bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  const std::string& b = archive.bytes;
  size_t end = b.size() >= 22 ? b.size() - 22 : std::string::npos;
  while (end != std::string::npos && Get(b, end, 4) != 0x06054b50)
    end = end ? end - 1 : std::string::npos;
  if (end == std::string::npos) Fail(path + ": no end of central directory");
  size_t at = Get(b, end + 16, 4);
  for (uint64_t n = Get(b, end + 10, 2); n-- > 0 && at + 46 <= b.size();) {
    Member m;
    const int flags = static_cast<int>(Get(b, at + 8, 2));
    m.method = static_cast<int>(Get(b, at + 10, 2));
    m.entry.crc = static_cast<uint32_t>(Get(b, at + 16, 4));
    m.compressed = Get(b, at + 20, 4);
    m.entry.size = Get(b, at + 24, 4);
    const size_t name = Get(b, at + 28, 2), extra = Get(b, at + 30, 2),
                 comment = Get(b, at + 32, 2);
    m.header = Get(b, at + 42, 4);
    m.entry.name = b.substr(at + 46, name);
    at += 46 + name + extra + comment;
    if ((flags & 1) || (m.method != 0 && m.method != 8) || !zip.IsFile(m.entry.name)) continue;
    archive.members.push_back(m);
    archive.entries.push_back(m.entry);
  }
  return archive;
}

double Milliseconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - since)
      .count();
}

#ifdef VELMIO_PEERS_FLOOR
// Inflates every member where its local header says its data start, into
// one buffer made for the largest.
double Floor(const std::vector<Archive>& archives, std::vector<char>& out,
             libdeflate_decompressor* inflater) {
  const auto start = std::chrono::steady_clock::now();
  for (const Archive& archive : archives) {
    const std::string& b = archive.bytes;
    for (const Member& m : archive.members) {
      const size_t data = m.header + 30 + Get(b, m.header + 26, 2) + Get(b, m.header + 28, 2);
      size_t made = 0;
      if (m.method == 0) {
        std::memcpy(out.data(), b.data() + data, m.entry.size);
      } else if (libdeflate_deflate_decompress(inflater, b.data() + data, m.compressed, out.data(),
                                               m.entry.size, &made) != LIBDEFLATE_SUCCESS) {
        Fail(archive.path + ": floor cannot inflate " + m.entry.name);
      }
    }
  }
  return Milliseconds(start);
}
#endif

double ReadAll(Reader& reader, const std::vector<Archive>& archives, bool verify) {
  const auto start = std::chrono::steady_clock::now();
  for (const Archive& archive : archives) {
    reader.Mount(archive.path)->Read(archive.entries, 0, archive.entries.size(), verify);
  }
  return Milliseconds(start);
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const size_t n = values.size();
  return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

}  // namespace

int RunRealArchives(const std::vector<std::string>& paths, int runs,
                    std::vector<std::unique_ptr<Reader>> readers) {
  std::vector<Archive> archives;
  size_t members = 0;
  uint64_t bytes = 0, largest = 0;
  for (const std::string& path : paths) {
    io::Opener* zip = io::LoadZip(path, io::GetOpener(io::OpenerTypeMMap));
    if (!zip) Fail(path + ": velmio cannot load it");
    archives.push_back(ListArchive(path, *zip));
    io::UnloadZip(zip);
    for (const Entry& entry : archives.back().entries) {
      bytes += entry.size;
      largest = std::max(largest, entry.size);
    }
    members += archives.back().entries.size();
  }
  std::printf("%zu archives, %zu members, %.1f MiB out\n", archives.size(), members,
              static_cast<double>(bytes) / (1 << 20));
  for (auto& reader : readers) ReadAll(*reader, archives, true);
  std::printf("every reader gave the same bytes (CRC-32 of every member)\n");

  std::vector<std::vector<double>> times(readers.size());
  std::vector<double> floor_times;
#ifdef VELMIO_PEERS_FLOOR
  std::vector<char> out(std::max<uint64_t>(largest, 1));
  libdeflate_decompressor* inflater = libdeflate_alloc_decompressor();
  Floor(archives, out, inflater);  // the buffer's pages are touched once, before the runs
#endif
  for (int run = 0; run < runs; ++run) {
    for (size_t i = 0; i < readers.size(); ++i) {
      times[i].push_back(ReadAll(*readers[i], archives, false));
    }
#ifdef VELMIO_PEERS_FLOOR
    floor_times.push_back(Floor(archives, out, inflater));
#endif
  }
#ifdef VELMIO_PEERS_FLOOR
  libdeflate_free_decompressor(inflater);
#endif
  const double floor = floor_times.empty() ? 0 : Median(floor_times);
  double best_peer = 1e300, best_velmio = 1e300;
  std::printf("medians of %d runs, every member read whole:\n", runs);
  if (floor > 0) std::printf("  %-14s %9.1f ms\n", "floor", floor);
  for (size_t i = 0; i < readers.size(); ++i) {
    const double ms = Median(times[i]);
    const bool velmio = readers[i]->Name().rfind("velmio", 0) == 0;
    (velmio ? best_velmio : best_peer) = std::min(velmio ? best_velmio : best_peer, ms);
    std::printf("  %-14s %9.1f ms", readers[i]->Name().c_str(), ms);
    if (floor > 0) std::printf("  %.2fx the floor", ms / floor);
    std::printf("\n");
  }
  if (best_peer < 1e300)
    std::printf("velmio best over best peer: %.2fx faster\n", best_peer / best_velmio);
  return 0;
}

}  // namespace velm::bench
