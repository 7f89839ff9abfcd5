#include "os/opener_sys.h"

namespace velm::io {

OpenerSys::OpenerSys() : name("sys") {}
OpenerSys::~OpenerSys() = default;
OpenerType OpenerSys::GetType() const { return OpenerTypeSys; }
Input* OpenerSys::OpenInput(const std::string&) { return nullptr; }
Output* OpenerSys::OpenOutput(const std::string&) { return nullptr; }
const std::string& OpenerSys::GetName() const { return name; }

}  // namespace velm::io
