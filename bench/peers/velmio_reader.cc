#include <memory>
#include <mutex>

#include <velm/io/opener>

#include "reader.h"

namespace velm::bench {
namespace {

// Opens of one archive may overlap; true makes the two threads take turns at
// the open, as callers had to before.
constexpr bool kSerialisedOpens = false;

class VelmioMounted : public Mounted {
 public:
  VelmioMounted(io::Opener* zip, std::string reader) : zip_(zip), reader_(std::move(reader)) {}
  ~VelmioMounted() override { io::UnloadZip(zip_); }

  void Read(const std::vector<Entry>& entries, size_t first, size_t last, bool verify) override {
    Drain drain(reader_, verify);
    for (size_t i = first; i < last; ++i) {
      drain.Start(entries[i]);
      std::unique_ptr<io::Input> input;
      {
        std::unique_lock<std::mutex> lock(open_lock_, std::defer_lock);
        if (kSerialisedOpens) lock.lock();
        input.reset(zip_->OpenInput(entries[i].name));
      }
      if (!input) drain.Fail("OpenInput gave null");
      while (drain.Take(input->Read(drain.data(), drain.size()))) {}
      input.reset();
      drain.Finish();
    }
  }

 private:
  io::Opener* zip_;
  std::string reader_;
  std::mutex open_lock_;
};

class VelmioReader : public Reader {
 public:
  explicit VelmioReader(io::Opener* os) : os_(os) {}

  std::string Name() const override { return "velmio " + os_->GetName(); }

  std::unique_ptr<Mounted> Mount(const std::string& path) override {
    io::Opener* zip = io::LoadZip(path, os_);
    if (!zip) Fail(Name() + ": LoadZip failed for " + path);
    return std::make_unique<VelmioMounted>(zip, Name());
  }

  bool SharesMount() const override { return true; }

  std::string ThreadNote() const override { return kSerialisedOpens ? "serialised opens" : ""; }

 private:
  io::Opener* os_;
};

}  // namespace

std::unique_ptr<Reader> MakeVelmioReader(int type) {
  return std::make_unique<VelmioReader>(io::GetOpener(static_cast<io::OpenerType>(type)));
}

}  // namespace velm::bench
