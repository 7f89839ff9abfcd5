#include "mmap/opener_mmap.h"

namespace velm::io {

OpenerMMap::OpenerMMap() : name("mmap") {}
OpenerMMap::~OpenerMMap() = default;
OpenerType OpenerMMap::GetType() const { return OpenerTypeMMap; }
Input* OpenerMMap::OpenInput(const std::string&) { return nullptr; }
Output* OpenerMMap::OpenOutput(const std::string&) { return nullptr; }
const std::string& OpenerMMap::GetName() const { return name; }

}  // namespace velm::io
