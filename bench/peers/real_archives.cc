#include "real_archives.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include <velm/io/opener>

#include "central_directory.h"
#include "input_reading.h"

#ifdef VELMIO_PEERS_FLOOR
#include <libdeflate.h>
#endif

namespace velm::bench {
namespace {

// One member as the central directory gives it, where its data start.
struct Member {
  Entry entry;
  uint64_t data = 0;
  uint64_t compressed = 0;
  int method = 0;
};

struct Archive {
  std::string path;
  std::string bytes;
  std::vector<Member> members;
  std::vector<Entry> entries;
};

// The stored and deflated files of the central directory, without what the
// engine cannot reach by name: directories, encrypted members, names it
// refuses.
Archive ListArchive(const std::string& path, io::Opener& zip) {
  Archive archive;
  archive.path = path;
  std::unique_ptr<io::Input> file(io::GetOpener(io::OpenerTypeSys)->OpenInput(path));
  tool::CentralDirectory directory;
  std::string error;
  if (!file || !tool::ReadCentralDirectory(*file, directory, error)) Fail(path + ": " + error);
  for (const tool::CentralEntry& central : directory.entries) {
    tool::LocalHeader local;
    if ((central.flags & 1) || (central.method != 0 && central.method != 8) ||
        !zip.IsFile(central.name) || !tool::ReadLocalHeader(*file, central.header_offset, local)) {
      continue;
    }
    Member m;
    m.entry.name = central.name;
    m.entry.size = central.uncompressed_size;
    m.entry.crc = central.crc32;
    m.data = local.data_offset;
    m.compressed = central.compressed_size;
    m.method = central.method;
    archive.members.push_back(m);
    archive.entries.push_back(m.entry);
  }
  if (file->Seek(0, 0) != 0 || !tool::ReadAll(*file, archive.bytes))
    Fail(path + ": cannot read it");
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
    for (const Member& m : archive.members) {
      const char* data = archive.bytes.data() + m.data;
      size_t made = 0;
      if (m.method == 0) {
        std::memcpy(out.data(), data, m.entry.size);
      } else if (libdeflate_deflate_decompress(inflater, data, m.compressed, out.data(),
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
