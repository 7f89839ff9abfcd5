#include <fcntl.h>
#include <io.h>

#include "console.h"

namespace tool {

bool IsTerminal(std::FILE* file) { return _isatty(_fileno(file)) != 0; }

void SetBinary(std::FILE* file) { _setmode(_fileno(file), _O_BINARY); }

}  // namespace tool
