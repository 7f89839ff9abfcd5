// Scans an in-memory archive and opens and reads every member it lists.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <velm/io/opener>
#include <velm/log/log>

#include "zip/opener_zip.h"

namespace {

using velm::io::Input;
using velm::io::Opener;

// An archive held in memory. Seeks past the end are allowed, as in the
// descriptor and stdio back-ends, so that the longest walks are taken.
class BytesInput final : public Input {
 public:
  explicit BytesInput(std::shared_ptr<const std::string> bytes)
      : bytes_(std::move(bytes)) {}
  int64_t Tell() override { return position_; }
  int32_t Seek(int64_t offset, int32_t whence) override {
    int64_t base = whence == 0 ? 0 : whence == 1 ? position_ : GetSize();
    if (whence < 0 || whence > 2 || offset < -base ||
        offset > (int64_t{1} << 40))
      return -1;
    position_ = base + offset;
    return 0;
  }
  int64_t GetSize() const override {
    return static_cast<int64_t>(bytes_->size());
  }
  bool IsEOF() override { return position_ >= GetSize(); }
  void Close() override {}
  bool IsClosed() const override { return false; }
  const std::string& GetPath() const override { return path_; }
  Opener* GetOpener() const override { return nullptr; }
  bool GetDescriptor(int*, int64_t*) override { return false; }
  int64_t Read(void* buffer, size_t count) override {
    if (position_ >= GetSize()) return 0;
    size_t left = static_cast<size_t>(GetSize() - position_);
    if (count > left) count = left;
    std::memcpy(buffer, bytes_->data() + position_, count);
    position_ += static_cast<int64_t>(count);
    return static_cast<int64_t>(count);
  }
  Input* Clone() override { return new BytesInput(bytes_); }

 private:
  std::shared_ptr<const std::string> bytes_;
  std::string path_ = "fuzz.zip";
  int64_t position_ = 0;
};

void NoSink(void*, unsigned int, int, bool, const char*) {}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velm::log::SetSink(NoSink, nullptr);
  auto archive = std::make_unique<BytesInput>(std::make_shared<const std::string>(
      reinterpret_cast<const char*>(data), size));
  velm::io::OpenerZip* zip = velm::io::OpenerZip::Create(archive.get());
  if (!zip) return 0;
  archive.release();
  std::vector<std::string> names;
  zip->ListFiles("", true, names);
  zip->List("", names);
  char buffer[4096];
  for (const std::string& name : names) {
    zip->IsDirectory(name);
    zip->GetModifiedTime(name);
    std::unique_ptr<Input> input(zip->OpenInput(name));
    if (!input) continue;
    // Members may declare 4 GiB; the first and last pages are enough.
    input->Read(buffer, sizeof buffer);
    input->Seek(-static_cast<int64_t>(sizeof buffer), 2);
    input->Read(buffer, sizeof buffer);
    std::unique_ptr<Input> clone(input->Clone());
    if (clone) clone->Read(buffer, 16);
  }
  velm::io::UnloadZip(zip);
  return 0;
}
