#ifndef VELMIO_ZIP_ARCHIVE_READER_H_
#define VELMIO_ZIP_ARCHIVE_READER_H_

#include <cstddef>
#include <cstdint>
#include <memory>

#include <velm/io/stream>

#include "core/mutex.h"
#include "zip/heap_bytes.h"

namespace velm::io {

// Reads bytes of a scanned archive for any number of threads at once, never
// through the archive's shared position where that can be helped: straight
// from the view of a mapped archive, by positional reads of its descriptor,
// or else through Seek and Read under a lock. Owns the archive's stream, and
// is shared by the index and every open stored member, which so read the
// very file that was scanned, with no descriptor of their own, and go on
// reading after the archive is unloaded.
class ArchiveReader {
 public:
  // Some bytes of the archive: in its view, or in held. failed: a read gave
  // -1, so that the bytes stop short of what the archive holds.
  struct Span {
    const unsigned char* bytes = nullptr;
    uint64_t count = 0;
    Bytes held;
    bool failed = false;
  };

  // Takes archive; no one else may use its position from now on, since a
  // positional read on Windows moves it.
  explicit ArchiveReader(Input* archive);
  ArchiveReader(const ArchiveReader&) = delete;
  ArchiveReader& operator=(const ArchiveReader&) = delete;

  // Up to count bytes from offset on: fewer where the archive ends or a read
  // fails. A count that a record merely claims costs no more memory than
  // twice the bytes that really come.
  Span Read(uint64_t offset, uint64_t count);

  // Up to count bytes at offset into to: the count copied, 0 at the end, -1
  // on a failing read.
  int64_t ReadInto(uint64_t offset, void* to, size_t count);

  // The descriptor that holds the archive's data, and where they begin in it.
  bool GetDescriptor(int* fd, int64_t* offset) const;

 private:
  // Fills span.held with up to limit bytes from read(to, count, done), which
  // gives the bytes behind the done ones, 0 at the end or -1. The block
  // starts at capacity and doubles while bytes come.
  template <typename ReadMore>
  void Gather(Span& span, uint64_t capacity, uint64_t limit, ReadMore read);

  std::unique_ptr<Input> archive_;
  const unsigned char* view_ = nullptr;
  int descriptor_ = -1;
  int64_t descriptor_base_ = 0;
  int64_t size_ = 0;
  // Held over a Seek and the Read behind it, the only moves of archive_'s
  // position after the scan.
  Mutex lock_;
};

}  // namespace velm::io

#endif  // VELMIO_ZIP_ARCHIVE_READER_H_
