#ifndef VELMIO_OS_OWNED_HANDLE_H_
#define VELMIO_OS_OWNED_HANDLE_H_

#include <memory>
#include <type_traits>

#include "platform/platform.h"

namespace velm::io {

struct HandleCloser {
  void operator()(platform::HANDLE handle) const { platform::CloseHandle(handle); }
};

// A file or mapping handle, closed on every way out unless released. Null
// and INVALID_HANDLE_VALUE are for the caller to keep out.
using OwnedHandle =
    std::unique_ptr<std::remove_pointer_t<platform::HANDLE>, HandleCloser>;

}  // namespace velm::io

#endif  // VELMIO_OS_OWNED_HANDLE_H_
