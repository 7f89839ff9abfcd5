#include <cstdint>
#include <ctime>

#include "platform/native.h"
#include "platform/platform.h"

namespace velm::platform::native {

std::int64_t LocalTime(std::tm* time) { return _mktime64(time); }

}  // namespace velm::platform::native
