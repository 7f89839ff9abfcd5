#include "zip/archive_reader.h"

#include <algorithm>

#include "core/viewed_input.h"
#include "platform/platform.h"

namespace velm::io {
namespace {

// A read whose count the archive's size cannot confirm starts with a block of
// this size and doubles it as bytes come.
constexpr uint64_t kFirstPiece = 256 * 1024;

}  // namespace

ArchiveReader::ArchiveReader(Input* archive) : archive_(archive), size_(archive->GetSize()) {
  if (auto* viewed = dynamic_cast<ViewedInput*>(archive)) {
    view_ = reinterpret_cast<const unsigned char*>(viewed->GetView());
  }
  // A positional read must stop where the data end, so it needs their size.
  if (view_ || size_ < 0 || !archive->GetDescriptor(&descriptor_, &descriptor_base_)) {
    descriptor_ = -1;
  }
}

template <typename ReadMore>
bool ArchiveReader::Gather(Span& span, uint64_t capacity, uint64_t limit, ReadMore read) {
  uint64_t done = 0;
  Resize(span.held, capacity);
  for (;;) {
    if (done == capacity) {
      if (capacity == limit) break;
      capacity = std::min(limit, capacity * 2);
      Resize(span.held, capacity);
    }
    const int64_t got = read(span.held.get() + done, capacity - done, done);
    if (got < 0 && done == 0) return false;
    if (got <= 0) break;
    done += static_cast<uint64_t>(got);
  }
  span.bytes = span.held.get();
  span.count = done;
  return true;
}

Input* ArchiveReader::CloneArchive() {
  if (view_ || descriptor_ >= 0) return archive_->Clone();
  MutexLock hold(lock_);
  return archive_->Clone();
}

ArchiveReader::Span ArchiveReader::Read(uint32_t offset, uint32_t count) {
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
  if (descriptor_ >= 0 &&
      Gather(span, expected, expected, [&](unsigned char* to, uint64_t n, uint64_t done) {
        return platform::calls.ReadAt(descriptor_, to, static_cast<size_t>(n),
                                      descriptor_base_ + static_cast<int64_t>(offset + done));
      })) {
    return span;
  }
  // A descriptor that cannot be read at an offset, or none.
  MutexLock hold(lock_);
  ReadThroughStream(span, offset, count, expected);
  return span;
}

void ArchiveReader::ReadThroughStream(Span& span, uint64_t offset, uint64_t count,
                                      uint64_t expected) {
  if (archive_->Seek(static_cast<int64_t>(offset), 0) == -1) return;
  Gather(span, std::min<uint64_t>(count, std::max(expected, kFirstPiece)), count,
         [&](unsigned char* to, uint64_t n, uint64_t) {
           return archive_->Read(
               to, static_cast<size_t>(std::min<uint64_t>(n, platform::kMaxTransferBytes)));
         });
}

}  // namespace velm::io
