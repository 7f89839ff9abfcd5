#ifndef VELMIO_ZIP_ARCHIVE_READER_H_
#define VELMIO_ZIP_ARCHIVE_READER_H_

#include <cstddef>
#include <cstdint>

#include <velm/io/stream>

#include "core/mutex.h"
#include "zip/heap_bytes.h"

namespace velm::io {

// Reads bytes of a scanned archive for any number of threads at once, never
// through the archive's shared position where that can be helped: straight
// from the view of a mapped archive, by positional reads of its descriptor,
// or else through Seek and Read under a lock.
class ArchiveReader {
 public:
  // Some bytes of the archive: in its view, or in held.
  struct Span {
    const unsigned char* bytes = nullptr;
    uint64_t count = 0;
    Bytes held;
  };

  // archive must outlive this object, and after this no one else may use
  // its position: a positional read on Windows moves it.
  explicit ArchiveReader(Input* archive);
  ArchiveReader(const ArchiveReader&) = delete;
  ArchiveReader& operator=(const ArchiveReader&) = delete;

  // Up to count bytes from offset on: fewer where the archive ends or a read
  // fails. A count that a record merely claims costs no more memory than the
  // bytes that really come.
  Span Read(uint32_t offset, uint32_t count);

  // A clone of the archive's stream, for a stored member. Taken under the
  // lock where reads share the archive's stream, which a host's Clone may
  // touch.
  Input* CloneArchive();

 private:
  // Fills span.held with up to limit bytes from read(to, count, done), which
  // gives the bytes behind the done ones, 0 at the end or -1. The block
  // starts at capacity and doubles while bytes come. False if the first
  // call fails.
  template <typename ReadMore>
  bool Gather(Span& span, uint64_t capacity, uint64_t limit, ReadMore read);
  // Through the archive's own position, which only this lock moves.
  void ReadThroughStream(Span& span, uint64_t offset, uint64_t count, uint64_t expected)
      VELM_REQUIRES(lock_);

  Input* archive_;
  const unsigned char* view_ = nullptr;
  int descriptor_ = -1;
  int64_t descriptor_base_ = 0;
  int64_t size_ = 0;
  Mutex lock_;
};

}  // namespace velm::io

#endif  // VELMIO_ZIP_ARCHIVE_READER_H_
