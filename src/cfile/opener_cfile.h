#ifndef VELMIO_CFILE_OPENER_CFILE_H_
#define VELMIO_CFILE_OPENER_CFILE_H_

#include <string>

#include "os/opener_os.h"

namespace velm::io {

class OpenerCFile final : public OpenerOS {
 public:
  OpenerCFile();
  ~OpenerCFile() override;

  OpenerType GetType() const override;
  Input* OpenInput(const std::string& path) override;
  Output* OpenOutput(const std::string& path) override;
  const std::string& GetName() const override;

 private:
  std::string name;
};

}  // namespace velm::io

#endif  // VELMIO_CFILE_OPENER_CFILE_H_
