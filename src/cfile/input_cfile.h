#ifndef VELMIO_CFILE_INPUT_CFILE_H_
#define VELMIO_CFILE_INPUT_CFILE_H_

#include "core/stream_handle.h"
#include "cfile/stream_cfile.h"

namespace velm::io {

class InputCFile final : public InputHandle<StreamCFile> {
 public:
  using InputHandle::InputHandle;
};

}  // namespace velm::io

#endif  // VELMIO_CFILE_INPUT_CFILE_H_
