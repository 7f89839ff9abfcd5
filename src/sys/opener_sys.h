#ifndef VELMIO_SYS_OPENER_SYS_H_
#define VELMIO_SYS_OPENER_SYS_H_

#include <string>

#include "os/opener_os.h"

namespace velm::io {

class OpenerSys final : public OpenerOS {
 public:
  OpenerSys() : OpenerOS(OpenerTypeSys, "sys") {}

  Input* OpenInput(const std::string& path) override;
  Output* OpenOutput(const std::string& path) override;
};

}  // namespace velm::io

#endif  // VELMIO_SYS_OPENER_SYS_H_
