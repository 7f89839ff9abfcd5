#ifndef VELMIO_CFILE_OPENER_CFILE_H_
#define VELMIO_CFILE_OPENER_CFILE_H_

#include <string>

#include "os/opener_os.h"

namespace velm::io {

class OpenerCFile final : public OpenerOS {
 public:
  OpenerCFile() : OpenerOS(OpenerTypeCFile, "cfile") {}

  Input* OpenInput(const std::string& path) override;
  Output* OpenOutput(const std::string& path) override;
};

}  // namespace velm::io

#endif  // VELMIO_CFILE_OPENER_CFILE_H_
