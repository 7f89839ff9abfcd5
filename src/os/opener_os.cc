#include "os/opener_os.h"

namespace velm::io {

// Placeholder answers until the OS file-system operations land.
OpenerOS::~OpenerOS() = default;
const std::string& OpenerOS::GetRoot() const { return root; }
bool OpenerOS::IsFile(const std::string&) { return false; }
bool OpenerOS::IsDirectory(const std::string&) { return false; }
bool OpenerOS::StandardizePath(const std::string&, std::string&) { return false; }
int64_t OpenerOS::GetModifiedTime(const std::string&) { return -1; }
bool OpenerOS::CreateDirectories(const std::string&) { return false; }
bool OpenerOS::RemoveFile(const std::string&) { return false; }
bool OpenerOS::RemoveDirectory(const std::string&) { return false; }
void OpenerOS::List(const std::string&, std::vector<std::string>&) {}
void OpenerOS::ListFiles(const std::string&, bool, std::vector<std::string>&) {}

}  // namespace velm::io
