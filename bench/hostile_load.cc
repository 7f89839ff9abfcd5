// Loads archives through one back-end and opens and reads every member, for
// scripts/hostile: prints the time taken and the process's memory peaks, so
// that the script can hold them against their bounds.
//   hostile_load [--backend sys|cfile|mmap] [--head FILE] [--mount-only] archive...
// With --head, every member must begin with the bytes of FILE and read as
// zeros behind them. With --mount-only, archives are loaded and unloaded
// and no member is listed or read: the peaks are the index's. Exit 0, or 2 on bad arguments, 3 when
// an allocation failed, 4 when a member's bytes broke --head.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <velm/io/opener>
#include <velm/log/log>

namespace {

using Clock = std::chrono::steady_clock;

// Per member: this many bytes from the start and as many before the end, so
// that a member declaring 4 GiB costs what its real bytes cost.
constexpr int64_t kReadCap = 1 << 20;

struct Memory {
  long vm_peak_kib = 0;
  long rss_peak_kib = 0;
};

Memory ReadMemory() {
  Memory memory;
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmPeak:", 0) == 0) memory.vm_peak_kib = std::atol(line.c_str() + 7);
    if (line.rfind("VmHWM:", 0) == 0) memory.rss_peak_kib = std::atol(line.c_str() + 6);
  }
  return memory;
}

double Seconds(Clock::time_point since) {
  return std::chrono::duration<double>(Clock::now() - since).count();
}

struct Totals {
  int archives = 0;
  int loaded = 0;
  long members = 0;
  long opened = 0;
  int64_t bytes = 0;
  bool bytes_wrong = false;
};

// Reads up to kReadCap bytes from the position; with a head, checks each
// byte against it and the zeros behind it.
void ReadSome(velm::io::Input& input, const std::string* head, Totals& totals) {
  static char buffer[65536];
  int64_t done = 0;
  while (done < kReadCap) {
    const int64_t at = input.Tell();
    const int64_t got = input.Read(buffer, sizeof buffer);
    if (got <= 0) break;
    for (int64_t i = 0; head && i < got; ++i) {
      const uint64_t offset = static_cast<uint64_t>(at + i);
      const char expected = offset < head->size() ? (*head)[offset] : 0;
      if (buffer[i] != expected) totals.bytes_wrong = true;
    }
    done += got;
  }
  totals.bytes += done;
}

void ReadArchive(velm::io::Opener& zip, const std::string* head, Totals& totals) {
  std::vector<std::string> names;
  zip.ListFiles("", true, names);
  totals.members += static_cast<long>(names.size());
  for (const std::string& name : names) {
    std::unique_ptr<velm::io::Input> input(zip.OpenInput(name));
    if (!input) continue;
    ++totals.opened;
    ReadSome(*input, head, totals);
    if (input->GetSize() > 2 * kReadCap && input->Seek(-kReadCap, 2) == 0)
      ReadSome(*input, head, totals);
  }
}

void Drop(void*, unsigned int, int, bool, const char*) {}

}  // namespace

int main(int argc, char** argv) {
  velm::io::OpenerType type = velm::io::OpenerTypeCFile;
  std::unique_ptr<std::string> head;
  std::vector<std::string> archives;
  bool mount_only = false;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--backend" && i + 1 < argc) {
      const std::string name = argv[++i];
      type = name == "sys"     ? velm::io::OpenerTypeSys
             : name == "mmap"  ? velm::io::OpenerTypeMMap
             : name == "cfile" ? velm::io::OpenerTypeCFile
                               : static_cast<velm::io::OpenerType>(-1);
    } else if (argument == "--head" && i + 1 < argc) {
      std::ifstream file(argv[++i], std::ios::binary);
      head = std::make_unique<std::string>(std::istreambuf_iterator<char>(file),
                                           std::istreambuf_iterator<char>());
    } else if (argument == "--mount-only") {
      mount_only = true;
    } else {
      archives.push_back(argument);
    }
  }
  velm::io::Opener* opener = velm::io::GetOpener(type);
  if (!opener || archives.empty()) {
    std::fprintf(stderr,
                 "usage: hostile_load [--backend sys|cfile|mmap] "
                 "[--head FILE] [--mount-only] archive...\n");
    return 2;
  }
  velm::log::SetSink(Drop, nullptr);

  const Memory base = ReadMemory();
  Totals totals;
  double load_seconds = 0;
  const Clock::time_point start = Clock::now();
  int status = 0;
  Clock::time_point load_start;
  bool loading = false;
  try {
    for (const std::string& path : archives) {
      ++totals.archives;
      load_start = Clock::now();
      loading = true;
      velm::io::Opener* zip = velm::io::LoadZip(path, opener);
      loading = false;
      load_seconds += Seconds(load_start);
      if (!zip) continue;
      ++totals.loaded;
      if (!mount_only) ReadArchive(*zip, head.get(), totals);
      velm::io::UnloadZip(zip);
    }
  } catch (const std::bad_alloc&) {
    if (loading) load_seconds += Seconds(load_start);
    std::printf("bad_alloc\n");
    status = 3;
  }
  const double total_seconds = Seconds(start);
  const Memory peak = ReadMemory();
  if (status == 0 && totals.bytes_wrong) status = 4;
  std::printf(
      "load_s=%.3f total_s=%.3f archives=%d loaded=%d members=%ld opened=%ld "
      "bytes=%lld vm_base_kib=%ld vm_peak_kib=%ld rss_base_kib=%ld "
      "rss_peak_kib=%ld bytes_ok=%d\n",
      load_seconds, total_seconds, totals.archives, totals.loaded, totals.members, totals.opened,
      static_cast<long long>(totals.bytes), base.vm_peak_kib, peak.vm_peak_kib, base.rss_peak_kib,
      peak.rss_peak_kib, totals.bytes_wrong ? 0 : 1);
  return status;
}
