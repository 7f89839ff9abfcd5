#ifndef VELMIO_MMAP_OPENER_MMAP_H_
#define VELMIO_MMAP_OPENER_MMAP_H_

#include <string>

#include "os/opener_os.h"

namespace velm::io {

class OpenerMMap final : public OpenerOS {
 public:
  OpenerMMap() : OpenerOS(OpenerTypeMMap, "mmap") {}

  Input* OpenInput(const std::string& path) override;
  Output* OpenOutput(const std::string& path) override;
};

}  // namespace velm::io

#endif  // VELMIO_MMAP_OPENER_MMAP_H_
