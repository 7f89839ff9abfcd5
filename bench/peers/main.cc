// Times velmio's three OS back-ends against the zip readers of PhysFS, libzip
// and minizip on the same two archives, and prints the medians with, per
// column, how much faster velmio's best back-end is than the best peer.
//
//   cmake -S . -B build-bench -G Ninja -DVELMIO_BUILD_BENCH=ON -DCMAKE_BUILD_TYPE=Release
//   cmake --build build-bench --target peers
//   build-bench/bench/peers [--runs N] [--dir FOLDER]
//   build-bench/bench/peers [--runs N] --real ARCHIVE...
//
// A peer is built in when its Debian package (libphysfs-dev, libzip-dev,
// libminizip-dev) is found at configure time. The archives are written to
// FOLDER (kept) or to a temporary folder (removed at the end). Every reader
// first reads everything once with the CRC-32 of each member checked; any
// disagreement stops the program. Each timed measurement opens the archive,
// does its work and closes the archive again. With --real, every member of
// the given archives is read instead, against a floor of libdeflate alone.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <unistd.h>

#include <velm/io/opener>

#include "peak_memory.h"
#include "reader.h"
#include "real_archives.h"
#include "workload.h"

namespace velm::bench {
namespace {

enum Column { kMount, kDeflated, kStored, kSmalls, kTwoThreads, kColumns };

const char* const kHeads[kColumns] = {"mount ms", "64 MiB deflated ms", "64 MiB stored ms",
                                      "10k smalls ms", "2 threads ms"};

// The 10,000 smalls split in two halves, one per thread. Readers whose
// handle is for one thread mount the archive once per thread.
void ReadInTwoThreads(Reader& reader, const Workload& work, bool verify) {
  const std::vector<Entry>& smalls = work.smalls;
  size_t half = smalls.size() / 2;
  if (reader.SharesMount()) {
    std::unique_ptr<Mounted> mounted = reader.Mount(work.smalls_path);
    std::thread other([&] { mounted->Read(smalls, half, smalls.size(), verify); });
    mounted->Read(smalls, 0, half, verify);
    other.join();
  } else {
    std::thread other(
        [&] { reader.Mount(work.smalls_path)->Read(smalls, half, smalls.size(), verify); });
    reader.Mount(work.smalls_path)->Read(smalls, 0, half, verify);
    other.join();
  }
}

// Milliseconds for one measurement: mount, the column's work, unmount.
double Measure(Reader& reader, Column column, const Workload& work, bool verify) {
  auto start = std::chrono::steady_clock::now();
  switch (column) {
    case kMount:
      reader.Mount(work.smalls_path).reset();
      break;
    case kDeflated:
      reader.Mount(work.big_path)->Read(work.big, 0, 1, verify);
      break;
    case kStored:
      reader.Mount(work.big_path)->Read(work.big, 1, 2, verify);
      break;
    case kSmalls:
      reader.Mount(work.smalls_path)->Read(work.smalls, 0, work.smalls.size(), verify);
      break;
    case kTwoThreads:
      ReadInTwoThreads(reader, work, verify);
      break;
    case kColumns:
      break;
  }
  std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
  return took.count();
}

struct Row {
  std::unique_ptr<Reader> reader;
  std::string name;
  bool velmio = false;
  std::vector<double> times[kColumns];
  double median[kColumns] = {};
};

// The lowest median of the column among velmio's rows or among the peers';
// a huge value if there is none. A lazy mount is no index and does not count.
double Best(const std::vector<Row>& rows, Column column, bool velmio) {
  double best = 1e300;
  for (const Row& row : rows) {
    if (row.velmio != velmio) continue;
    if (column == kMount && !row.reader->IndexesAtMount()) continue;
    best = std::min(best, row.median[column]);
  }
  return best;
}

std::string Format(const char* format, double value) {
  char text[64];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

std::string Ratio(double ratio) {
  return Format(ratio >= 1 ? "%.2fx faster" : "%.2fx (slower)", ratio);
}

void PrintLine(const std::vector<std::string>& cells, const std::vector<size_t>& widths) {
  std::string line = "|";
  for (size_t i = 0; i < cells.size(); ++i) {
    std::string cell = cells[i];
    cell.resize(std::max(cell.size(), widths[i]), ' ');
    line += " " + cell + " |";
  }
  std::puts(line.c_str());
}

void PrintTable(const std::vector<Row>& rows) {
  std::vector<std::vector<std::string>> lines;
  std::vector<std::string> head = {"reader"};
  head.insert(head.end(), kHeads, kHeads + kColumns);
  head.push_back("2-thread speed-up");
  lines.push_back(head);
  for (const Row& row : rows) {
    std::vector<std::string> cells = {row.name};
    for (int c = 0; c < kColumns; ++c) {
      cells.push_back(Format(c == kMount ? "%.2f" : "%.1f", row.median[c]));
    }
    if (!row.reader->IndexesAtMount()) cells[1 + kMount] += " (lazy)";
    std::string speedup = Format("%.2fx", row.median[kSmalls] / row.median[kTwoThreads]);
    std::string note = row.reader->ThreadNote();
    cells.push_back(note.empty() ? speedup : speedup + " (" + note + ")");
    lines.push_back(cells);
  }
  std::vector<std::string> ratios = {"velmio best / best peer"};
  for (int c = 0; c < kColumns; ++c) {
    double peer = Best(rows, static_cast<Column>(c), false);
    double velmio = Best(rows, static_cast<Column>(c), true);
    ratios.push_back(peer < 1e300 ? Ratio(peer / velmio) : "no peer");
  }
  ratios.push_back("");
  lines.push_back(ratios);

  std::vector<size_t> widths(head.size(), 0);
  for (const auto& cells : lines) {
    for (size_t i = 0; i < cells.size(); ++i) {
      widths[i] = std::max(widths[i], cells[i].size());
    }
  }
  PrintLine(lines[0], widths);
  std::string rule = "|";
  for (size_t width : widths) rule += std::string(width + 2, '-') + "|";
  std::puts(rule.c_str());
  for (size_t i = 1; i < lines.size(); ++i) PrintLine(lines[i], widths);
}

const Row* Find(const std::vector<Row>& rows, const std::string& name) {
  for (const Row& row : rows) {
    if (row.name == name) return &row;
  }
  return nullptr;
}

// One goal the library's work is aiming at, with what this run measured.
void PrintTarget(const char* goal, double value, double needed) {
  std::printf("  %-58s %6.2fx  %s\n", goal, value, value >= needed ? "met" : "not met");
}

void PrintTargets(const std::vector<Row>& rows, const PeakMemory& peak, uint64_t member_size) {
  const Row* mmap = Find(rows, "velmio mmap");
  const Row* cfile = Find(rows, "velmio cfile");
  const Row* libzip = Find(rows, "libzip");
  std::puts("targets (velmio's speed over the other's, same run):");
  if (Best(rows, kDeflated, false) < 1e300) {
    PrintTarget("64 MiB deflated, best back-end over best peer, >= 2.5x",
                Best(rows, kDeflated, false) / Best(rows, kDeflated, true), 2.5);
    PrintTarget("64 MiB stored, mmap over best peer, >= 1.2x",
                Best(rows, kStored, false) / mmap->median[kStored], 1.2);
    PrintTarget("10k smalls, best back-end over best peer, >= 1.5x",
                Best(rows, kSmalls, false) / Best(rows, kSmalls, true), 1.5);
  }
  if (libzip) {
    PrintTarget("mount of 10,000, mmap over libzip, >= 2x",
                libzip->median[kMount] / mmap->median[kMount], 2);
    PrintTarget("mount of 10,000, cfile over libzip, > 1x",
                libzip->median[kMount] / cfile->median[kMount], 1.0001);
  } else {
    std::puts("  mount against libzip: libzip not built");
  }
  PrintTarget("two threads over one thread, mmap, >= 1.7x (on 2 cores)",
              mmap->median[kSmalls] / mmap->median[kTwoThreads], 1.7);
  double member_mib = static_cast<double>(member_size) / (1 << 20);
  if (peak.measured) {
    double held = peak.peak_mib - peak.mapped_mib;
    std::printf(
        "  peak memory reading the 64 MiB deflated member through mmap:\n"
        "    resident peak +%.1f MiB, of which %.1f MiB mapped archive pages;\n"
        "    held by the reader %.1f MiB against %.1f MiB allowed "
        "(member + 1 MiB): %s\n",
        peak.peak_mib, peak.mapped_mib, held, member_mib + 1,
        held <= member_mib + 1 ? "met" : "not met");
  } else {
    std::printf("  peak memory: not measured: %s\n", peak.failure.c_str());
  }
}

std::string MachineLine() {
  std::string load;
  std::getline(std::ifstream("/proc/loadavg"), load);
  std::string cpu;
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    if (line.rfind("model name", 0) == 0) {
      cpu = line.substr(line.find(':') + 2);
      break;
    }
  }
  return "nproc " + std::to_string(std::thread::hardware_concurrency()) + ", " + cpu +
         ", load average " + load.substr(0, load.find(' ', 10));
}

int Usage() {
  std::fputs("usage: peers [--runs N] [--dir FOLDER | --real ARCHIVE...]\n", stderr);
  return 1;
}

int Main(int argc, char** argv) {
  int runs = 7;
  std::string folder;
  std::vector<std::string> real;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg == "--runs" && i + 1 < argc) {
      runs = std::atoi(argv[++i]);
      if (runs < 1) return Usage();
    } else if (arg == "--dir" && i + 1 < argc) {
      folder = argv[++i];
    } else if (arg == "--real" && i + 1 < argc) {
      real.assign(argv + i + 1, argv + argc);
      break;
    } else {
      return Usage();
    }
  }
  if (!real.empty()) {
    std::vector<std::unique_ptr<Reader>> readers;
#ifdef VELMIO_PEERS_PHYSFS
    readers.push_back(MakePhysfsReader(argv[0]));
#endif
#ifdef VELMIO_PEERS_LIBZIP
    readers.push_back(MakeLibzipReader());
#endif
#ifdef VELMIO_PEERS_MINIZIP
    readers.push_back(MakeMinizipReader());
#endif
    for (int type : {io::OpenerTypeCFile, io::OpenerTypeMMap, io::OpenerTypeSys}) {
      readers.push_back(MakeVelmioReader(type));
    }
    std::printf("%s\n", MachineLine().c_str());
    return RunRealArchives(real, runs, std::move(readers));
  }
  bool keep = !folder.empty();
  if (!keep) {
    folder = (std::filesystem::temp_directory_path() / ("velmio-peers-" + std::to_string(getpid())))
                 .u8string();
  }

  std::printf("writing the archives to %s\n", folder.c_str());
  std::fflush(stdout);
  Workload work = WriteWorkload(folder);
  std::printf(
      "A: 64 MiB member deflated %.1f:1, and the same member stored; "
      "B: %zu deflated members, %.1f MiB in all, %.1f:1, in 100 folders\n",
      static_cast<double>(work.big[0].size) / work.big_compressed, work.smalls.size(),
      work.smalls_bytes / double(1 << 20),
      static_cast<double>(work.smalls_bytes) / work.smalls_compressed);

  // Measured first, before any thread exists, since it forks.
  PeakMemory peak = MeasurePeakMemory(work.big_path, work.big[0]);

  std::vector<Row> rows;
  auto add = [&rows](std::unique_ptr<Reader> reader) {
    Row row;
    row.name = reader->Name();
    row.velmio = row.name.rfind("velmio", 0) == 0;
    row.reader = std::move(reader);
    rows.push_back(std::move(row));
  };
  std::vector<std::string> absent;
#ifdef VELMIO_PEERS_PHYSFS
  add(MakePhysfsReader(argv[0]));
#else
  absent.push_back("PhysFS");
#endif
#ifdef VELMIO_PEERS_LIBZIP
  add(MakeLibzipReader());
#else
  absent.push_back("libzip");
#endif
#ifdef VELMIO_PEERS_MINIZIP
  add(MakeMinizipReader());
#else
  absent.push_back("minizip");
#endif
  add(MakeVelmioReader(io::OpenerTypeCFile));
  add(MakeVelmioReader(io::OpenerTypeMMap));
  add(MakeVelmioReader(io::OpenerTypeSys));

  for (Row& row : rows) {
    for (int c = kDeflated; c < kColumns; ++c) {
      Measure(*row.reader, static_cast<Column>(c), work, true);
    }
  }
  std::printf("every reader gave the same bytes (CRC-32 of every member)\n");
  std::fflush(stdout);

  // Readers take turns within each run, so that a slow spell of the machine
  // falls on all of them.
  for (int run = 0; run < runs; ++run) {
    for (int c = 0; c < kColumns; ++c) {
      for (Row& row : rows) {
        row.times[c].push_back(Measure(*row.reader, static_cast<Column>(c), work, false));
      }
    }
  }
  for (Row& row : rows) {
    for (int c = 0; c < kColumns; ++c) row.median[c] = Median(row.times[c]);
  }

  std::printf("\n%s; medians of %d runs\n", MachineLine().c_str(), runs);
  for (const std::string& name : absent) {
    std::printf("%s: not built (its package was not found at configure time)\n", name.c_str());
  }
  PrintTable(rows);
  std::puts("");
  PrintTargets(rows, peak, work.big[0].size);

  if (!keep) {
    std::error_code error;
    std::filesystem::remove_all(std::filesystem::u8path(folder), error);
  }
  return 0;
}

}  // namespace
}  // namespace velm::bench

int main(int argc, char** argv) { return velm::bench::Main(argc, argv); }
