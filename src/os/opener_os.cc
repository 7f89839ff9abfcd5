#include "os/opener_os.h"

#include "os/make_absolute_path.h"
#include "platform/platform.h"

namespace velm::io {

OpenerOS::OpenerOS(OpenerType type, const char* name) : type_(type), name_(name) {}

OpenerOS::~OpenerOS() = default;

OpenerType OpenerOS::GetType() const { return type_; }

const std::string& OpenerOS::GetName() const { return name_; }

const std::string& OpenerOS::GetRoot() const { return root_; }

bool OpenerOS::IsFile(const std::string& path) {
  return platform::calls.KindOf(path) == platform::FileKind::kFile;
}

bool OpenerOS::IsDirectory(const std::string& path) {
  return platform::calls.KindOf(path) == platform::FileKind::kDirectory;
}

bool OpenerOS::StandardizePath(const std::string& path, std::string& out) {
  return MakeAbsolutePath(path, out);
}

int64_t OpenerOS::GetModifiedTime(const std::string& path) {
  return platform::calls.ModifiedTime(path);
}

bool OpenerOS::CreateDirectories(const std::string& path) {
  return platform::calls.CreateDirectories(path);
}

bool OpenerOS::RemoveFile(const std::string& path) { return platform::calls.RemoveFile(path); }

bool OpenerOS::RemoveDirectory(const std::string& path) { return platform::calls.RemoveTree(path); }

}  // namespace velm::io
