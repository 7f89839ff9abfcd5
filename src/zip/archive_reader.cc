#include "zip/archive_reader.h"

#include <algorithm>
#include <cstring>

#include "core/viewed_input.h"
#include "platform/platform.h"

namespace velm::io {
namespace {

// A read through a stream starts with a block of this size and doubles it as
// bytes come: a stream's size may be unknown or a claim.
constexpr uint64_t kFirstPiece = 256 * 1024;

}  // namespace

ArchiveReader::ArchiveReader(Input* archive) : archive_(archive), size_(archive->GetSize()) {
  if (auto* viewed = dynamic_cast<ViewedInput*>(archive)) {
    view_ = reinterpret_cast<const unsigned char*>(viewed->GetView());
  }
  // A positional read must stop where the data end, so it needs their size.
  if (view_ || size_ < 0 || !archive->GetDescriptor(&descriptor_, &descriptor_base_)) {
    descriptor_ = -1;
    descriptor_base_ = 0;
  }
}

template <typename ReadMore>
void ArchiveReader::Gather(Span& span, uint64_t capacity, uint64_t limit, ReadMore read) {
  uint64_t done = 0;
  Resize(span.held, capacity);
  for (;;) {
    if (done == capacity) {
      if (capacity == limit) break;
      capacity = std::min(limit, capacity * 2);
      Resize(span.held, capacity);
    }
    const int64_t got = read(span.held.get() + done, capacity - done, done);
    span.failed = got < 0;
    if (got <= 0) break;
    done += static_cast<uint64_t>(got);
  }
  span.bytes = span.held.get();
  span.count = done;
}

ArchiveReader::Span ArchiveReader::Read(uint64_t offset, uint64_t count) {
  Span span;
  // What the archive's size leaves for the record; all of it unless a file
  // grew since it was opened.
  uint64_t expected = count;
  if (size_ >= 0) {
    const auto total = static_cast<uint64_t>(size_);
    expected = offset < total ? std::min<uint64_t>(count, total - offset) : 0;
  }
  if (view_) {
    if (offset <= static_cast<uint64_t>(size_)) {
      span.bytes = view_ + offset;
      span.count = expected;
    }
    return span;
  }
  // A descriptor's size is the file's own; a stream's is only its word.
  const bool sized = descriptor_ >= 0;
  Gather(span, sized ? expected : std::min<uint64_t>(count, kFirstPiece), sized ? expected : count,
         [&](unsigned char* to, uint64_t n, uint64_t done) {
           return ReadInto(offset + done, to, static_cast<size_t>(n));
         });
  return span;
}

int64_t ArchiveReader::ReadInto(uint64_t offset, void* to, size_t count) {
  count = std::min(count, platform::kMaxTransferBytes);
  if (view_) {
    const auto total = static_cast<uint64_t>(size_);
    const size_t n =
        offset < total ? static_cast<size_t>(std::min<uint64_t>(count, total - offset)) : 0;
    if (n > 0) std::memcpy(to, view_ + offset, n);
    return static_cast<int64_t>(n);
  }
  if (descriptor_ >= 0) {
    const int64_t got = platform::calls.ReadAt(descriptor_, to, count,
                                               descriptor_base_ + static_cast<int64_t>(offset));
    if (got >= 0) return got;
    // A descriptor that cannot be read at an offset: through the stream.
  }
  // Nothing lies beyond the end, where a stream may refuse to seek.
  if (size_ >= 0 && offset >= static_cast<uint64_t>(size_)) return 0;
  MutexLock hold(lock_);
  if (archive_->Seek(static_cast<int64_t>(offset), 0) == -1) return -1;
  return archive_->Read(to, count);
}

bool ArchiveReader::GetDescriptor(int* fd, int64_t* offset) const {
  if (descriptor_ < 0) return false;
  *fd = descriptor_;
  *offset = descriptor_base_;
  return true;
}

}  // namespace velm::io
