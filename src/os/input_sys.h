#ifndef VELMIO_OS_INPUT_SYS_H_
#define VELMIO_OS_INPUT_SYS_H_

#include "core/stream_handle.h"
#include "os/stream_sys.h"

namespace velm::io {

class InputSys final : public InputHandle<StreamSys> {
 public:
  using InputHandle::InputHandle;
};

}  // namespace velm::io

#endif  // VELMIO_OS_INPUT_SYS_H_
