#include "zip/input_zip.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace velm::io {
namespace {

// Where a seek of a member of length bytes from position tell lands, judged
// in member coordinates; false where it would leave the member. A deflated
// member refuses a relative seek onto its very end (end_by_relative false),
// so Seek(0, 1) there gives -1, on purpose: hosts rely on it. Whence 0 and 2
// reach the end.
bool SeekTarget(int64_t tell, int64_t length, int64_t offset, int32_t whence, bool end_by_relative,
                int64_t& target) {
  switch (whence) {
    case 0:
      target = offset;
      return offset >= 0 && offset <= length;
    case 1:
      if ((offset > 0 && tell > std::numeric_limits<int64_t>::max() - offset) ||
          (offset < 0 && tell < std::numeric_limits<int64_t>::min() - offset)) {
        return false;
      }
      target = tell + offset;
      return target >= 0 && (target < length || (end_by_relative && target == length));
    case 2:
      target = length + offset;
      return offset <= 0 && offset >= -length;
    default:
      return false;
  }
}

}  // namespace

int32_t StoredSlice::Seek(int64_t offset, int32_t whence) {
  int64_t target = 0;
  if (!archive_ || !SeekTarget(Tell(), GetSize(), offset, whence, true, target)) return -1;
  position_ = static_cast<uint64_t>(target);
  return 0;
}

bool StoredSlice::GetDescriptor(int* fd, int64_t* offset) {
  int64_t base = 0;
  if (!archive_ || !archive_->GetDescriptor(fd, &base)) return false;
  *offset = base + static_cast<int64_t>(start_);
  return true;
}

int64_t StoredSlice::Read(void* buffer, size_t count) {
  if (!archive_ || position_ >= size_) return 0;
  const int64_t got =
      archive_->ReadInto(start_ + position_, buffer,
                         static_cast<size_t>(std::min<uint64_t>(count, size_ - position_)));
  if (got > 0) position_ += static_cast<uint64_t>(got);
  return got;
}

Input* StoredSlice::Clone(Opener* opener, const std::string& path) {
  if (!archive_) return nullptr;
  return new InputZipStored(opener, path, StoredSlice(archive_, start_, size_));
}

int32_t InflatedBytes::Seek(int64_t offset, int32_t whence) {
  int64_t target = 0;
  if (!data_ || !SeekTarget(Tell(), GetSize(), offset, whence, false, target)) return -1;
  position_ = static_cast<uint64_t>(target);
  return 0;
}

int64_t InflatedBytes::Read(void* buffer, size_t count) {
  if (!data_ || position_ >= size_) return 0;
  count = static_cast<size_t>(std::min<uint64_t>(count, size_ - position_));
  // Bytes that inflating did not produce read as zeros.
  const uint64_t produced = position_ < held_ ? held_ - position_ : 0;
  const auto copied = static_cast<size_t>(std::min<uint64_t>(count, produced));
  if (copied > 0) std::memcpy(buffer, data_.get() + position_, copied);
  if (count > copied) std::memset(static_cast<unsigned char*>(buffer) + copied, 0, count - copied);
  position_ += count;
  return static_cast<int64_t>(count);
}

Input* InflatedBytes::Clone(Opener* opener, const std::string& path) {
  if (!data_) return nullptr;
  return new InputZipInflated(opener, path, InflatedBytes(data_, held_, size_));
}

}  // namespace velm::io
