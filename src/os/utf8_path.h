#ifndef VELMIO_OS_UTF8_PATH_H_
#define VELMIO_OS_UTF8_PATH_H_

#include "platform/platform.h"

namespace velm::io {

// The UTF-8 form of UTF-16 text that came back from the system. Up to 511
// bytes stay inline; longer text moves to the heap. Null or empty source
// gives the empty text.
class Utf8Path {
 public:
  explicit Utf8Path(const platform::WCHAR* source);
  ~Utf8Path();
  Utf8Path(const Utf8Path&) = delete;
  Utf8Path& operator=(const Utf8Path&) = delete;

  char buffer[platform::kInlinePathUnits];
  char* text;
};

}  // namespace velm::io

#endif  // VELMIO_OS_UTF8_PATH_H_
