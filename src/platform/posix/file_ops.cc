#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <memory>
#include <string>

#include "platform/descriptor.h"
#include "platform/native.h"
#include "platform/posix/posix.h"

namespace velm::platform::native {
namespace {

int RemoveEntry(const char* path, const struct stat*, int type, struct FTW*) {
  // FTW_DP and FTW_DNR are directories, after their contents (FTW_DEPTH); an
  // unreadable one fails here unless it is already empty.
  return (type == FTW_DP || type == FTW_DNR) ? ::rmdir(path) : ::unlink(path);
}

}  // namespace

FileKind KindOf(const std::string& path) {
  std::string native;
  struct stat status;
  if (!posix::ToNative(path, native) || ::stat(native.c_str(), &status) != 0) {
    return FileKind::kMissing;
  }
  return S_ISDIR(status.st_mode) ? FileKind::kDirectory : FileKind::kFile;
}

std::int64_t ModifiedTime(const std::string& path) {
  // Through an open, as on Windows: a directory or an unreadable file has none.
  std::string native;
  if (!posix::ToNative(path, native)) return -1;
  Descriptor file(posix::OpenFile(native, O_RDONLY));
  struct stat status;
  if (!file || ::fstat(file.get(), &status) != 0) return -1;
  return static_cast<std::int64_t>(status.st_mtim.tv_sec);
}

bool CreateDirectories(const std::string& path) {
  std::string native;
  if (IsRelativePath(path) || !posix::ToNative(path, native)) return false;
  while (native.size() > 1 && native.back() == '/') native.pop_back();
  // Parents first; a failure among them shows in the last mkdir. One that
  // already exists fails, as the Windows call does.
  for (std::size_t slash = native.find('/', 1); slash != std::string::npos;
       slash = native.find('/', slash + 1)) {
    if (native[slash - 1] != '/') ::mkdir(native.substr(0, slash).c_str(), 0777);
  }
  return ::mkdir(native.c_str(), 0777) == 0;
}

bool RemoveFile(const std::string& path) {
  std::string native;
  struct stat status;
  if (!posix::ToNative(path, native) || ::lstat(native.c_str(), &status) != 0 ||
      S_ISDIR(status.st_mode)) {
    return false;
  }
  return ::unlink(native.c_str()) == 0;
}

bool RemoveTree(const std::string& path) {
  std::string native;
  if (path.empty() || !posix::ToNative(path, native)) return false;
  // A trailing slash would make lstat follow a link to a directory.
  while (native.size() > 1 && native.back() == '/') native.pop_back();
  struct stat status;
  if (::lstat(native.c_str(), &status) != 0) return false;
  // A link is removed itself, never what it points at.
  if (!S_ISDIR(status.st_mode)) return ::unlink(native.c_str()) == 0;
  return ::nftw(native.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS) == 0;
}

bool ListDirectory(const std::string& directory, std::vector<DirectoryEntry>& out) {
  std::string native;
  if (!posix::ToNative(directory, native)) return false;
  // An empty directory name is taken as the root, as Windows takes "\\*".
  std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(native.empty() ? "/" : native.c_str()),
                                             &::closedir);
  if (stream == nullptr) return false;
  while (const dirent* entry = ::readdir(stream.get())) {
    // Only a link or an unknown type costs a stat; a link to a directory
    // counts as a directory, a dangling one as a file.
    bool is_directory = entry->d_type == DT_DIR;
    if (entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN) {
      struct stat status;
      is_directory = ::fstatat(::dirfd(stream.get()), entry->d_name, &status, 0) == 0 &&
                     S_ISDIR(status.st_mode);
    }
    out.push_back({entry->d_name, is_directory});
  }
  return true;
}

std::int64_t LocalTime(std::tm* time) { return static_cast<std::int64_t>(std::mktime(time)); }

}  // namespace velm::platform::native
