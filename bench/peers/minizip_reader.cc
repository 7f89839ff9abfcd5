// minizip's own include folder also holds a zip.h; the prefix keeps it
// apart from libzip's.
#include <minizip/unzip.h>

#include <memory>

#include "reader.h"

namespace velm::bench {
namespace {

// unzLocateFile searches the directory from its start, so members are read
// by walking the directory in order, as minizip's users do. A handle is for
// one thread at a time: each thread opens its own.
class MinizipMounted : public Mounted {
 public:
  explicit MinizipMounted(unzFile archive) : archive_(archive) {}
  ~MinizipMounted() override { unzClose(archive_); }

  void Read(const std::vector<Entry>& entries, size_t first, size_t last, bool verify) override {
    Drain drain("minizip", verify);
    if (unzGoToFirstFile(archive_) != UNZ_OK) Fail("minizip: empty directory");
    bool moved = false;  // past the member last read
    for (size_t i = first; i < last; ++i) {
      drain.Start(entries[i]);
      // Members that the list leaves out, such as directories, are walked
      // past, as are those before first.
      for (char name[1024];; moved = true) {
        if (moved && unzGoToNextFile(archive_) != UNZ_OK) {
          drain.Fail("directory ends before this member");
        }
        unz_file_info64 info;
        if (unzGetCurrentFileInfo64(archive_, &info, name, sizeof(name), nullptr, 0, nullptr, 0) !=
            UNZ_OK) {
          drain.Fail("unzGetCurrentFileInfo64 failed");
        }
        if (entries[i].name == name) break;
      }
      moved = true;
      if (unzOpenCurrentFile(archive_) != UNZ_OK) {
        drain.Fail("unzOpenCurrentFile failed");
      }
      while (drain.Take(
          unzReadCurrentFile(archive_, drain.data(), static_cast<unsigned>(drain.size())))) {}
      // Checks the CRC-32 of a member read to its end.
      if (unzCloseCurrentFile(archive_) != UNZ_OK) {
        drain.Fail("unzCloseCurrentFile failed");
      }
      drain.Finish();
    }
  }

 private:
  unzFile archive_;
};

class MinizipReader : public Reader {
 public:
  std::string Name() const override { return "minizip"; }

  std::unique_ptr<Mounted> Mount(const std::string& path) override {
    unzFile archive = unzOpen64(path.c_str());
    if (!archive) Fail("unzOpen64 failed for " + path);
    return std::make_unique<MinizipMounted>(archive);
  }

  bool SharesMount() const override { return false; }
  bool IndexesAtMount() const override { return false; }
};

}  // namespace

std::unique_ptr<Reader> MakeMinizipReader() { return std::make_unique<MinizipReader>(); }

}  // namespace velm::bench
