#ifndef VELMIO_BENCH_PEERS_WORKLOAD_H_
#define VELMIO_BENCH_PEERS_WORKLOAD_H_

#include <cstdint>
#include <string>
#include <vector>

#include "reader.h"

namespace velm::bench {

// The two archives that every reader is timed on, written to a folder.
struct Workload {
  // One 64 MiB text-like member deflated, then the same member stored.
  std::string big_path;
  std::vector<Entry> big;  // "deflated", "stored"
  uint64_t big_compressed = 0;

  // 10,000 deflated text-like members of 0.2 to 8 KB in 100 folders.
  std::string smalls_path;
  std::vector<Entry> smalls;
  uint64_t smalls_bytes = 0;
  uint64_t smalls_compressed = 0;
};

// The same bytes on every run: the content comes from a seeded generator.
Workload WriteWorkload(const std::string& folder);

}  // namespace velm::bench

#endif  // VELMIO_BENCH_PEERS_WORKLOAD_H_
