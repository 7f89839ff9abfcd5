#include "zip/read_ahead_input.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "platform/platform.h"

namespace velm::io {
namespace {

// A block after a jump holds a record's header and name; blocks double while
// the walk goes on through small records, up to the largest.
constexpr size_t kSmallestBlock = 4 * 1024;
constexpr size_t kLargestBlock = 256 * 1024;

}  // namespace

std::unique_ptr<ReadAheadInput> ReadAheadInput::Over(Input* stream) {
  const auto* face = dynamic_cast<const ReadAheadFace*>(stream);
  int descriptor = -1;
  int64_t base = 0;
  if (face == nullptr || stream->GetSize() < 0 || !stream->GetDescriptor(&descriptor, &base)) {
    return nullptr;
  }
  return std::unique_ptr<ReadAheadInput>(
      new ReadAheadInput(stream, descriptor, base, face->GetReadAheadRules()));
}

ReadAheadInput::ReadAheadInput(Input* stream, int descriptor, int64_t base, ReadAheadRules rules)
    : stream_(stream),
      descriptor_(descriptor),
      base_(base),
      size_(stream->GetSize()),
      rules_(rules),
      block_(new unsigned char[kLargestBlock]) {}

int32_t ReadAheadInput::Seek(int64_t offset, int32_t whence) {
  int64_t target = 0;
  switch (whence) {
    case 0:
      target = offset;
      break;
    case 1:
      if (offset > 0 && position_ > std::numeric_limits<int64_t>::max() - offset) return -1;
      target = position_ + offset;
      break;
    case 2:
      // Measured from the file's end as it is now, which only the stream knows.
      if (stream_->Seek(offset, 2) == -1) return -1;
      target = stream_->Tell();
      break;
    default:
      return -1;
  }
  if (target < 0) return -1;
  // Beyond the data, each stream has its answer, and each file system its
  // largest position.
  if (whence != 2 && target > size_ && stream_->Seek(target, 0) == -1) return -1;
  position_ = target;
  short_read_ = false;
  return 0;
}

bool ReadAheadInput::IsEOF() { return rules_.end_at_size ? position_ >= size_ : short_read_; }

bool ReadAheadInput::GetDescriptor(int* fd, int64_t* offset) {
  return stream_->GetDescriptor(fd, offset);
}

int64_t ReadAheadInput::Refill() {
  const int64_t block_end = block_start_ + static_cast<int64_t>(block_held_);
  const bool going_on =
      position_ >= block_start_ && position_ - block_end < static_cast<int64_t>(block_want_);
  block_want_ = going_on ? std::min(2 * block_want_, kLargestBlock) : kSmallestBlock;
  const int64_t got =
      platform::calls.ReadAt(descriptor_, block_.get(), block_want_, base_ + position_);
  block_start_ = position_;
  block_held_ = got > 0 ? static_cast<size_t>(got) : 0;
  return got;
}

int64_t ReadAheadInput::Read(void* buffer, size_t count) {
  auto* to = static_cast<unsigned char*>(buffer);
  size_t want = count;
  if (rules_.reads_stop_at_size) {
    want = position_ < size_ ? static_cast<size_t>(std::min<uint64_t>(
                                   count, static_cast<uint64_t>(size_ - position_)))
                             : 0;
  }
  size_t done = 0;
  bool failed = false;
  while (done < want) {
    const int64_t in_block = position_ - block_start_;
    if (in_block >= 0 && static_cast<uint64_t>(in_block) < block_held_) {
      const size_t n = std::min(want - done, block_held_ - static_cast<size_t>(in_block));
      std::memcpy(to + done, block_.get() + in_block, n);
      done += n;
      position_ += static_cast<int64_t>(n);
      continue;
    }
    int64_t got = 0;
    if (want - done >= kLargestBlock) {
      got = platform::calls.ReadAt(descriptor_, to + done,
                                   std::min(want - done, platform::kMaxTransferBytes),
                                   base_ + position_);
      if (got > 0) {
        done += static_cast<size_t>(got);
        position_ += got;
      }
    } else {
      got = Refill();
    }
    if (got <= 0) {
      failed = got < 0;
      break;
    }
  }
  if (done < count && !failed) short_read_ = true;
  if (failed && done == 0 && rules_.failure_is_negative) return -1;
  return static_cast<int64_t>(done);
}

}  // namespace velm::io
