#include "os/utf8_path.h"

#include <cstddef>

namespace velm::io {

Utf8Path::Utf8Path(const platform::WCHAR* source) : text(buffer) {
  if (source == nullptr || source[0] == 0) {
    buffer[0] = '\0';
    return;
  }
  if (platform::WideCharToMultiByte(CP_UTF8, 0, source, -1, buffer,
                                    platform::kInlinePathUnits, nullptr,
                                    nullptr) != 0) {
    return;
  }
  int needed = platform::WideCharToMultiByte(CP_UTF8, 0, source, -1, nullptr, 0,
                                             nullptr, nullptr);
  // Only a text beyond what the conversion can count gets here; it stays empty.
  if (needed <= 0) {
    buffer[0] = '\0';
    return;
  }
  auto* block = new char[static_cast<size_t>(needed)];
  block[needed - 1] = '\0';
  platform::WideCharToMultiByte(CP_UTF8, 0, source, -1, block, needed, nullptr,
                                nullptr);
  text = block;
}

Utf8Path::~Utf8Path() {
  if (text != buffer) delete[] text;
}

}  // namespace velm::io
