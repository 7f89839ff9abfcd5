#ifndef VELMIO_MMAP_OPENER_MMAP_H_
#define VELMIO_MMAP_OPENER_MMAP_H_

#include <string>

#include "os/opener_os.h"

namespace velm::io {

class OpenerMMap final : public OpenerOS {
 public:
  OpenerMMap();
  ~OpenerMMap() override;

  OpenerType GetType() const override;
  Input* OpenInput(const std::string& path) override;
  Output* OpenOutput(const std::string& path) override;
  const std::string& GetName() const override;

 private:
  std::string name;
};

}  // namespace velm::io

#endif  // VELMIO_MMAP_OPENER_MMAP_H_
