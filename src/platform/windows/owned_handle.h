#ifndef VELMIO_PLATFORM_WINDOWS_OWNED_HANDLE_H_
#define VELMIO_PLATFORM_WINDOWS_OWNED_HANDLE_H_

#include <memory>
#include <type_traits>

#include "platform/windows/win32.h"

namespace velm::platform::windows {

struct HandleCloser {
  // Nobody is left to tell of a failing close.
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};

// A file or mapping handle, closed on every way out unless released. Null and
// INVALID_HANDLE_VALUE are for the caller to keep out.
using OwnedHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

}  // namespace velm::platform::windows

#endif  // VELMIO_PLATFORM_WINDOWS_OWNED_HANDLE_H_
