#ifndef VELMIO_CFILE_STREAM_CFILE_H_
#define VELMIO_CFILE_STREAM_CFILE_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "core/file_stream.h"
#include "platform/platform.h"

namespace velm::io {

struct BufferedFileCloser {
  // Nothing can be done about a failing close; the FILE is gone either way.
  void operator()(std::FILE* file) const { platform::calls.CloseBuffered(file); }
};
using BufferedFile = std::unique_ptr<std::FILE, BufferedFileCloser>;

// One file open through the runtime's FILE, owned by exactly one InputCFile
// or OutputCFile. A null file means closed.
class StreamCFile {
 public:
  static constexpr ReadAheadRules kReadAheadRules = {false, false, false};

  // Takes file, and its size found by seeking.
  explicit StreamCFile(BufferedFile file);

  int64_t Tell();
  int32_t Seek(int64_t offset, int32_t whence);
  int64_t GetSize() const { return size_; }
  bool IsEOF();
  void Close() { file_.reset(); }
  bool IsClosed() const { return file_ == nullptr; }
  bool GetDescriptor(int* fd, int64_t* offset);
  int64_t Read(void* buffer, size_t count);
  int64_t Write(const void* buffer, size_t count);
  // The file this stream has open, whatever its path leads to now; by the
  // path only once the stream is closed.
  Input* Clone(Opener* opener, const std::string& path);

 private:
  BufferedFile file_;
  int64_t size_ = 0;
};

using InputCFile = FileInput<StreamCFile>;
using OutputCFile = FileOutput<StreamCFile>;

// A stream over file; null if it is not open.
template <typename Stream>
Stream* CFileOver(Opener* opener, const std::string& path, BufferedFile file) {
  if (!file) return nullptr;
  return new Stream(opener, path, StreamCFile(std::move(file)));
}

}  // namespace velm::io

#endif  // VELMIO_CFILE_STREAM_CFILE_H_
