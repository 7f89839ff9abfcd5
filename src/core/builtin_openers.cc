#include <string>
#include <unordered_set>

#include <velm/io/opener>

#include "cfile/opener_cfile.h"
#include "mmap/mapped_file_cache.h"
#include "mmap/opener_mmap.h"
#include "os/opener_sys.h"

namespace velm::io {

unsigned int LogChannel = 0;

// Built in this order, before the mapped-file table and its lock; unload
// runs it backwards.
namespace {
OpenerSys sys_opener __attribute__((init_priority(kBuiltinOpenersInitPriority)));
OpenerCFile cfile_opener
    __attribute__((init_priority(kBuiltinOpenersInitPriority)));
OpenerMMap mmap_opener __attribute__((init_priority(kBuiltinOpenersInitPriority)));
}  // namespace

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
  static const std::unordered_set<std::string> builtinNames = {
      "os", "cfile", "sys", "mmap", "asset", "obb", "patch_obb", "fios2"};
  return builtinNames.count(name) != 0;
}

}  // namespace velm::io
