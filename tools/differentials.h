// What two readers of one archive would see differently: the library walks
// the local headers from the file's start, other tools read the central
// directory. Every way the two can part is a finding.
#ifndef VELMIO_TOOLS_DIFFERENTIALS_H_
#define VELMIO_TOOLS_DIFFERENTIALS_H_

#include <cstddef>
#include <string>
#include <vector>

#include <velm/io/stream>

#include "central_directory.h"
#include "library_walk.h"

namespace tool {

class Findings {
 public:
  // A reason to refuse the archive, about a member or the archive itself.
  void Refuse(const std::string& subject, const std::string& reason);
  // Worth saying, but every reader sees the same.
  void Warn(const std::string& subject, const std::string& reason);

  const std::vector<std::string>& lines() const { return lines_; }
  size_t refusals() const { return refusals_; }
  size_t warnings() const { return warnings_; }

 private:
  std::vector<std::string> lines_;
  size_t refusals_ = 0;
  size_t warnings_ = 0;
};

// A name as check prints it: bytes below 0x20 as \xNN.
std::string Printable(const std::string& name);

// Compares the central directory, the local headers it points to and the
// library's walk. seen gets, for each entry, whether the walk indexed the
// record it points to under its name.
void FindDifferentials(velm::io::Input& file, const std::string& archive_name,
                       const CentralDirectory& directory, const LibraryWalk& walk,
                       std::vector<bool>& seen, Findings& findings);

}  // namespace tool

#endif  // VELMIO_TOOLS_DIFFERENTIALS_H_
