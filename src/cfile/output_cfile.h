#ifndef VELMIO_CFILE_OUTPUT_CFILE_H_
#define VELMIO_CFILE_OUTPUT_CFILE_H_

#include "core/stream_handle.h"
#include "cfile/stream_cfile.h"

namespace velm::io {

class OutputCFile final : public OutputHandle<StreamCFile> {
 public:
  using OutputHandle::OutputHandle;
};

}  // namespace velm::io

#endif  // VELMIO_CFILE_OUTPUT_CFILE_H_
