#ifndef VELMIO_OS_DIRECTORY_LISTING_H_
#define VELMIO_OS_DIRECTORY_LISTING_H_

#include <string>
#include <vector>

#include "os/dual_path.h"

namespace velm::io {

// Adds the files of base (of base/sub when sub is given) to out, named
// relative to base. With pending given, queues the sub-directories found.
void ScanDirectory(const DualPath& base, const DualPath* sub,
                   std::vector<std::string>& out, DualPathQueue* pending);

}  // namespace velm::io

#endif  // VELMIO_OS_DIRECTORY_LISTING_H_
