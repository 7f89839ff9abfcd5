// The subcommands. Each returns the exit status: 0 done, 1 something was not
// found or could not be read or written.
#ifndef VELMIO_TOOLS_COMMANDS_H_
#define VELMIO_TOOLS_COMMANDS_H_

#include "options.h"

namespace tool {

int RunLs(const Options& options);
int RunStat(const Options& options);
int RunCat(const Options& options);
int RunExtract(const Options& options);
int RunCheck(const Options& options);
int RunPack(const Options& options);

}  // namespace tool

#endif  // VELMIO_TOOLS_COMMANDS_H_
