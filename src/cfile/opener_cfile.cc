#include "cfile/opener_cfile.h"

namespace velm::io {

OpenerCFile::OpenerCFile() : name("cfile") {}
OpenerCFile::~OpenerCFile() = default;
OpenerType OpenerCFile::GetType() const { return OpenerTypeCFile; }
Input* OpenerCFile::OpenInput(const std::string&) { return nullptr; }
Output* OpenerCFile::OpenOutput(const std::string&) { return nullptr; }
const std::string& OpenerCFile::GetName() const { return name; }

}  // namespace velm::io
