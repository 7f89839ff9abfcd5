#ifndef VELMIO_OS_WIDE_PATH_H_
#define VELMIO_OS_WIDE_PATH_H_

#include "platform/platform.h"

namespace velm::io {

// The UTF-16 form of a UTF-8 path, made on the stack right before a system
// call. Paths up to 511 units stay inline; longer ones move to the heap and
// are never cut. The text is followed by a second NUL unit, so it is also a
// one-entry double-NUL list. Malformed UTF-8 becomes U+FFFD.
class WidePath {
 public:
  explicit WidePath(const char* source);
  ~WidePath();
  WidePath(const WidePath&) = delete;
  WidePath& operator=(const WidePath&) = delete;

  // One spare unit, so the double NUL fits at every length.
  platform::WCHAR buffer[platform::kInlinePathUnits + 1];
  platform::WCHAR* text;
};

}  // namespace velm::io

#endif  // VELMIO_OS_WIDE_PATH_H_
