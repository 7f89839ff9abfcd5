#ifndef VELMIO_BENCH_PEERS_REAL_ARCHIVES_H_
#define VELMIO_BENCH_PEERS_REAL_ARCHIVES_H_

#include <memory>
#include <string>
#include <vector>

#include "reader.h"

namespace velm::bench {

// Reads every member of archives that other tools wrote with every reader,
// against a floor: libdeflate alone, from the archive in memory into a
// buffer made beforehand, with no index and no lookup. Prints the medians of
// runs and returns 0, or fails the program where readers disagree.
int RunRealArchives(const std::vector<std::string>& paths, int runs,
                    std::vector<std::unique_ptr<Reader>> readers);

}  // namespace velm::bench

#endif  // VELMIO_BENCH_PEERS_REAL_ARCHIVES_H_
