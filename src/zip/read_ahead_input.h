#ifndef VELMIO_ZIP_READ_AHEAD_INPUT_H_
#define VELMIO_ZIP_READ_AHEAD_INPUT_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <velm/io/stream>

#include "core/read_ahead_rules.h"

namespace velm::io {

// Stands in for an archive's stream during the walk over its local records:
// reads the stream's descriptor in large positional blocks, so that a small
// record costs no call of the system, and answers Seek, Tell and IsEOF as
// the stream would have. The stream's own position is left alone, except
// that a positional read moves it on Windows and a seek beyond the data is
// asked of the stream.
class ReadAheadInput final : public Input {
 public:
  // A reader over stream, which must outlive it; null where stream has no
  // descriptor, no size or no rules of the library's, and the walk then
  // reads through stream itself.
  static std::unique_ptr<ReadAheadInput> Over(Input* stream);

  int64_t Tell() override { return position_; }
  int32_t Seek(int64_t offset, int32_t whence) override;
  int64_t GetSize() const override { return size_; }
  bool IsEOF() override;
  void Close() override {}
  bool IsClosed() const override { return stream_->IsClosed(); }
  const std::string& GetPath() const override { return stream_->GetPath(); }
  Opener* GetOpener() const override { return stream_->GetOpener(); }
  bool GetDescriptor(int* fd, int64_t* offset) override;
  int64_t Read(void* buffer, size_t count) override;
  Input* Clone() override { return stream_->Clone(); }

 private:
  ReadAheadInput(Input* stream, int descriptor, int64_t base, ReadAheadRules rules);
  // Refills the block at position_: larger while the walk goes on where the
  // last block ended, small again after a jump over a large member. The
  // count read, 0 at the end, -1 on failure.
  int64_t Refill();

  Input* stream_;
  int descriptor_;
  int64_t base_;
  int64_t size_;
  ReadAheadRules rules_;
  int64_t position_ = 0;
  bool short_read_ = false;  // since the last seek, for stdio's rule
  std::unique_ptr<unsigned char[]> block_;
  int64_t block_start_ = 0;
  size_t block_held_ = 0;
  size_t block_want_ = 0;
};

}  // namespace velm::io

#endif  // VELMIO_ZIP_READ_AHEAD_INPUT_H_
