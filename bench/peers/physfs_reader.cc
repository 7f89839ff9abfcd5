#include <physfs.h>

#include <memory>

#include "reader.h"

namespace velm::bench {
namespace {

std::string LastError() { return PHYSFS_getErrorByCode(PHYSFS_getLastErrorCode()); }

// PhysFS has one search path per process behind a global lock: the archive
// is mounted at the root, and both threads open through the same mount.
class PhysfsMounted : public Mounted {
 public:
  explicit PhysfsMounted(std::string path) : path_(std::move(path)) {}
  ~PhysfsMounted() override { PHYSFS_unmount(path_.c_str()); }

  void Read(const std::vector<Entry>& entries, size_t first, size_t last, bool verify) override {
    Drain drain("PhysFS", verify);
    for (size_t i = first; i < last; ++i) {
      drain.Start(entries[i]);
      PHYSFS_File* file = PHYSFS_openRead(entries[i].name.c_str());
      if (!file) drain.Fail("PHYSFS_openRead: " + LastError());
      while (drain.Take(PHYSFS_readBytes(file, drain.data(), drain.size()))) {}
      PHYSFS_close(file);
      drain.Finish();
    }
  }

 private:
  std::string path_;
};

class PhysfsReader : public Reader {
 public:
  explicit PhysfsReader(const char* argv0) {
    if (!PHYSFS_init(argv0)) Fail("PHYSFS_init: " + LastError());
  }
  ~PhysfsReader() override { PHYSFS_deinit(); }

  std::string Name() const override { return "PhysFS"; }

  std::unique_ptr<Mounted> Mount(const std::string& path) override {
    if (!PHYSFS_mount(path.c_str(), nullptr, 1)) {
      Fail("PHYSFS_mount " + path + ": " + LastError());
    }
    return std::make_unique<PhysfsMounted>(path);
  }

  bool SharesMount() const override { return true; }
};

}  // namespace

std::unique_ptr<Reader> MakePhysfsReader(const char* argv0) {
  return std::make_unique<PhysfsReader>(argv0);
}

}  // namespace velm::bench
