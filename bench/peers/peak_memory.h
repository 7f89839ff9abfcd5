#ifndef VELMIO_BENCH_PEERS_PEAK_MEMORY_H_
#define VELMIO_BENCH_PEERS_PEAK_MEMORY_H_

#include <string>

#include "reader.h"

namespace velm::bench {

struct PeakMemory {
  bool measured = false;
  std::string failure;    // why not, when not measured
  double peak_mib = 0;    // rise of the resident peak over the start
  double mapped_mib = 0;  // of that, pages of the archive's mapped view
};

// Mounts archive through velmio's mapped back-end, opens member, reads it to
// the end and closes it, in a forked child whose resident peak (VmHWM) is
// first reset to its current size through /proc/self/clear_refs. Pages of the
// mapped archive are resident too; they are reported apart, since they are
// the file's, not memory the reader holds.
PeakMemory MeasurePeakMemory(const std::string& archive, const Entry& member);

}  // namespace velm::bench

#endif  // VELMIO_BENCH_PEERS_PEAK_MEMORY_H_
