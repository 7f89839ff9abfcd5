#include <unistd.h>

#include "console.h"

namespace tool {

bool IsTerminal(std::FILE* file) { return isatty(fileno(file)) != 0; }

// POSIX streams never translate line ends.
void SetBinary(std::FILE*) {}

}  // namespace tool
