// The two things the tool asks of the console that differ by platform.
#ifndef VELMIO_TOOLS_CONSOLE_H_
#define VELMIO_TOOLS_CONSOLE_H_

#include <cstdio>

namespace tool {

bool IsTerminal(std::FILE* file);

// Bytes written to file pass unchanged (no line-end translation).
void SetBinary(std::FILE* file);

}  // namespace tool

#endif  // VELMIO_TOOLS_CONSOLE_H_
