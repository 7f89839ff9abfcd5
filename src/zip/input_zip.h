#ifndef VELMIO_ZIP_INPUT_ZIP_H_
#define VELMIO_ZIP_INPUT_ZIP_H_

#include <cstdint>
#include <memory>
#include <string>

#include <velm/io/stream>

namespace velm::io {

class OpenerZip;

// One archive member. Stored: a slice of the archive read through a private
// Input. Deflated: bytes inflated at open, shared by the stream's clones.
// With neither, the stream is closed.
class InputZip final : public Input {
 public:
  InputZip(const std::string& path, OpenerZip* opener, uint64_t size);
  ~InputZip() override;
  InputZip(const InputZip&) = delete;
  InputZip& operator=(const InputZip&) = delete;

  int64_t Tell() override;
  int32_t Seek(int64_t offset, int32_t whence) override;
  int64_t GetSize() const override;
  bool IsEOF() override;
  void Close() override;
  bool IsClosed() const override;
  const std::string& GetPath() const override;
  Opener* GetOpener() const override;
  bool GetDescriptor(int* fd, int64_t* offset) override;
  int64_t Read(void* buffer, size_t count) override;
  Input* Clone() override;

 private:
  friend class OpenerZip;

  std::string path;
  OpenerZip* opener;
  uint64_t size;
  uint64_t start = 0;     // stored: the member's offset in the archive
  uint64_t position = 0;  // deflated: the read position
  // Deflated: how many bytes of data inflating produced. The member reads on
  // as zeros behind them, up to size.
  uint64_t held = 0;
  std::shared_ptr<const unsigned char> data;
  std::unique_ptr<Input> slice;
};

}  // namespace velm::io

#endif  // VELMIO_ZIP_INPUT_ZIP_H_
