#ifndef VELMIO_ZIP_INPUT_ZIP_H_
#define VELMIO_ZIP_INPUT_ZIP_H_

#include <cstdint>
#include <memory>
#include <string>

#include "core/file_stream.h"
#include "zip/archive_reader.h"

namespace velm::io {

// A stored member: a slice of the archive, read in place through the
// archive's reader, which it shares.
class StoredSlice {
 public:
  static constexpr ReadAheadRules kReadAheadRules = {true, true, true};

  StoredSlice(std::shared_ptr<ArchiveReader> archive, uint64_t start, uint64_t size)
      : archive_(std::move(archive)), start_(start), size_(size) {}

  int64_t Tell() { return archive_ ? static_cast<int64_t>(position_) : 0; }
  int32_t Seek(int64_t offset, int32_t whence);
  int64_t GetSize() const { return static_cast<int64_t>(size_); }
  bool IsEOF() { return !archive_ || position_ >= size_; }
  void Close() { archive_.reset(); }
  bool IsClosed() const { return archive_ == nullptr; }
  // The archive's descriptor, where it has one, at the member's data.
  bool GetDescriptor(int* fd, int64_t* offset);
  int64_t Read(void* buffer, size_t count);
  Input* Clone(Opener* opener, const std::string& path);

 private:
  std::shared_ptr<ArchiveReader> archive_;
  uint64_t start_;  // the member's offset in the archive
  uint64_t size_;
  uint64_t position_ = 0;
};

// A deflated member: bytes inflated at open, shared by the stream's clones.
// Inflating produced held of them; the member reads on as zeros behind them,
// up to its size.
class InflatedBytes {
 public:
  static constexpr ReadAheadRules kReadAheadRules = {true, true, true};

  InflatedBytes(std::shared_ptr<const unsigned char> data, uint64_t held, uint64_t size)
      : data_(std::move(data)), held_(held), size_(size) {}

  int64_t Tell() { return data_ ? static_cast<int64_t>(position_) : 0; }
  int32_t Seek(int64_t offset, int32_t whence);
  int64_t GetSize() const { return static_cast<int64_t>(size_); }
  bool IsEOF() { return !data_ || position_ >= size_; }
  // Drops this stream's reference only; clones keep the bytes alive.
  void Close() { data_.reset(); }
  bool IsClosed() const { return data_ == nullptr; }
  bool GetDescriptor(int*, int64_t*) { return false; }
  int64_t Read(void* buffer, size_t count);
  Input* Clone(Opener* opener, const std::string& path);

 private:
  std::shared_ptr<const unsigned char> data_;
  uint64_t held_;
  uint64_t size_;
  uint64_t position_ = 0;
};

using InputZipStored = FileInput<StoredSlice>;
using InputZipInflated = FileInput<InflatedBytes>;

}  // namespace velm::io

#endif  // VELMIO_ZIP_INPUT_ZIP_H_
