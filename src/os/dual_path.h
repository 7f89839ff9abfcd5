#ifndef VELMIO_OS_DUAL_PATH_H_
#define VELMIO_OS_DUAL_PATH_H_

#include <queue>
#include <string>

#include "platform/platform.h"

namespace velm::io {

// One path of a directory walk in both encodings: wide to build search
// patterns, utf8 to build the entries handed out.
struct DualPath {
  std::string utf8;
  platform::WideString wide;

  // Fills whichever form is empty from the other; two filled forms are left
  // as they are, without comparing them.
  void Sync();
};

// Sub-directories waiting to be scanned. A deque underneath, so the element
// being scanned keeps its address while new ones go in at the back.
using DualPathQueue = std::queue<DualPath>;

}  // namespace velm::io

#endif  // VELMIO_OS_DUAL_PATH_H_
