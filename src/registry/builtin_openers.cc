#include <string>
#include <unordered_set>

#include <velm/io/opener>

#include "cfile/opener_cfile.h"
#include "mmap/mapped_file_cache.h"
#include "mmap/opener_mmap.h"
#include "sys/opener_sys.h"

namespace velm::io {
namespace {

// The library's only objects with constructors, in the one order that matters:
// the three back-ends, then the table of mapped files. Objects of one file
// are built in the order they stand and destroyed in the reverse order, so
// at unload the table goes first and a view still held unmaps after it.
OpenerSys sys_opener;
OpenerCFile cfile_opener;
OpenerMMap mmap_opener;
MappedFileCache mapped_files;

}  // namespace

MappedFileCache& MappedFiles() { return mapped_files; }

Opener* GetOpener(OpenerType type) {
  switch (static_cast<int>(type)) {
    case OpenerTypeSys:
      return &sys_opener;
    case OpenerTypeCFile:
      return &cfile_opener;
    case OpenerTypeMMap:
      return &mmap_opener;
    default:
      return nullptr;
  }
}

bool IsBuiltinOpener(int type) { return type < 6; }

bool IsBuiltinOpener(const std::string& name) {
  // Filled inside the guarded initialisation, so even the first call is safe
  // from any thread.
  static const std::unordered_set<std::string> kBuiltinNames = {
      "os", "cfile", "sys", "mmap", "asset", "obb", "patch_obb", "fios2"};
  return kBuiltinNames.count(name) != 0;
}

}  // namespace velm::io
