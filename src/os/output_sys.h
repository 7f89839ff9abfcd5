#ifndef VELMIO_OS_OUTPUT_SYS_H_
#define VELMIO_OS_OUTPUT_SYS_H_

#include "core/stream_handle.h"
#include "os/stream_sys.h"

namespace velm::io {

class OutputSys final : public OutputHandle<StreamSys> {
 public:
  using OutputHandle::OutputHandle;
};

}  // namespace velm::io

#endif  // VELMIO_OS_OUTPUT_SYS_H_
