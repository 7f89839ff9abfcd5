#ifndef VELMIO_SYS_STREAM_SYS_H_
#define VELMIO_SYS_STREAM_SYS_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "core/file_stream.h"
#include "platform/descriptor.h"

namespace velm::io {

// One file open on a descriptor, owned by exactly one InputSys or OutputSys.
// No buffering: each Read or Write is one call of the system.
class StreamSys {
 public:
  static constexpr ReadAheadRules kReadAheadRules = {true, false, true};

  StreamSys(platform::Descriptor descriptor, int64_t size)
      : descriptor_(std::move(descriptor)), size_(size) {}

  int64_t Tell();
  int32_t Seek(int64_t offset, int32_t whence);
  int64_t GetSize() const { return size_; }
  bool IsEOF();
  // Nothing is buffered, so a failing close loses nothing to report.
  void Close() { descriptor_.reset(); }
  bool IsClosed() const { return !descriptor_; }
  bool GetDescriptor(int* fd, int64_t* offset);
  int64_t Read(void* buffer, size_t count);
  int64_t Write(const void* buffer, size_t count);
  // The file this stream has open, whatever its path leads to now; by the
  // path only once the stream is closed.
  Input* Clone(Opener* opener, const std::string& path);

 private:
  platform::Descriptor descriptor_;
  int64_t size_;
};

using InputSys = FileInput<StreamSys>;
using OutputSys = FileOutput<StreamSys>;

// A stream over descriptor, sized now; null if it is not open or has no size.
template <typename Stream>
Stream* StreamOver(Opener* opener, const std::string& path, platform::Descriptor descriptor) {
  int64_t size = 0;
  if (!descriptor || !platform::calls.SizeOf(descriptor.get(), size)) return nullptr;
  return new Stream(opener, path, StreamSys(std::move(descriptor), size));
}

}  // namespace velm::io

#endif  // VELMIO_SYS_STREAM_SYS_H_
