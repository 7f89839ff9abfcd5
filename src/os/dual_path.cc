#include "os/dual_path.h"

#include "os/utf8_path.h"
#include "os/wide_path.h"

namespace velm::io {

void DualPath::Sync() {
  if (utf8.empty() && !wide.empty()) {
    Utf8Path converted(wide.c_str());
    utf8 = converted.text;
  } else if (wide.empty() && !utf8.empty()) {
    WidePath converted(utf8.c_str());
    wide = converted.text;
  }
}

}  // namespace velm::io
