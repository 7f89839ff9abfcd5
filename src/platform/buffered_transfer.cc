// What the runtime's FILE does the same on every platform.

#include <algorithm>
#include <cstdio>

#include "platform/native.h"

namespace velm::platform::native {

std::size_t ReadBuffered(std::FILE* file, void* buffer, std::size_t count) {
  return std::fread(buffer, 1, std::min(count, kMaxTransferBytes), file);
}

std::size_t WriteBuffered(std::FILE* file, const void* buffer, std::size_t count) {
  if (std::ferror(file)) return 0;
  return std::fwrite(buffer, 1, std::min(count, kMaxTransferBytes), file);
}

bool CloseBuffered(std::FILE* file) { return std::fclose(file) == 0; }

}  // namespace velm::platform::native
