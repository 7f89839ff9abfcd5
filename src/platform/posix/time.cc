#include <ctime>

#include "platform/platform.h"

namespace platform::native {

std::int64_t _mktime64(std::tm* time) {
  return static_cast<std::int64_t>(std::mktime(time));
}

}  // namespace platform::native
