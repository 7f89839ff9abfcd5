#include <zip.h>

#include <memory>

#include "reader.h"

namespace velm::bench {
namespace {

// A zip_t is for one thread at a time: each thread opens its own.
class LibzipMounted : public Mounted {
 public:
  explicit LibzipMounted(zip_t* archive) : archive_(archive) {}
  ~LibzipMounted() override { zip_discard(archive_); }

  void Read(const std::vector<Entry>& entries, size_t first, size_t last, bool verify) override {
    Drain drain("libzip", verify);
    for (size_t i = first; i < last; ++i) {
      drain.Start(entries[i]);
      zip_file_t* file = zip_fopen(archive_, entries[i].name.c_str(), 0);
      if (!file) drain.Fail(std::string("zip_fopen: ") + zip_strerror(archive_));
      while (drain.Take(zip_fread(file, drain.data(), drain.size()))) {}
      if (zip_fclose(file) != 0) drain.Fail("zip_fclose failed");
      drain.Finish();
    }
  }

 private:
  zip_t* archive_;
};

class LibzipReader : public Reader {
 public:
  std::string Name() const override { return "libzip"; }

  std::unique_ptr<Mounted> Mount(const std::string& path) override {
    int error = 0;
    zip_t* archive = zip_open(path.c_str(), ZIP_RDONLY, &error);
    if (!archive) {
      Fail("zip_open " + path + ": error " + std::to_string(error));
    }
    return std::make_unique<LibzipMounted>(archive);
  }

  bool SharesMount() const override { return false; }
};

}  // namespace

std::unique_ptr<Reader> MakeLibzipReader() { return std::make_unique<LibzipReader>(); }

}  // namespace velm::bench
