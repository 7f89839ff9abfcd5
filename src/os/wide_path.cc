#include "os/wide_path.h"

#include <cstring>

namespace velm::io {

WidePath::WidePath(const char* source) : text(buffer) {
  // Zeroing the spare unit too leaves a second NUL behind any text that fits.
  std::memset(buffer, 0, sizeof(buffer));
  if (source == nullptr || source[0] == '\0') return;
  if (platform::MultiByteToWideChar(CP_UTF8, 0, source, -1, buffer,
                                    platform::kInlinePathUnits) != 0) {
    return;
  }
  int needed = platform::MultiByteToWideChar(CP_UTF8, 0, source, -1, nullptr, 0);
  // Only a text beyond what the conversion can count gets here; it stays empty.
  if (needed <= 0) return;
  auto* block = new platform::WCHAR[static_cast<size_t>(needed) + 1];
  block[needed] = 0;
  block[needed - 1] = 0;
  platform::MultiByteToWideChar(CP_UTF8, 0, source, -1, block, needed);
  text = block;
}

WidePath::~WidePath() {
  if (text != buffer) delete[] text;
}

}  // namespace velm::io
