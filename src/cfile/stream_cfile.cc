#include "cfile/stream_cfile.h"

#include <cstdio>
#include <utility>

namespace velm::io {

StreamCFile::StreamCFile(BufferedFile file) : file_(std::move(file)) {
  // The seeks cannot fail on a file that just opened; a failing tell leaves
  // -1 as the size, and the stream is made all the same.
  platform::calls.SeekBuffered(file_.get(), 0, SEEK_END);
  size_ = platform::calls.TellBuffered(file_.get());
  platform::calls.SeekBuffered(file_.get(), 0, SEEK_SET);
}

int64_t StreamCFile::Tell() {
  if (!file_) return 0;
  return platform::calls.TellBuffered(file_.get());
}

int32_t StreamCFile::Seek(int64_t offset, int32_t whence) {
  if (!file_) return -1;
  // The Microsoft runtime ends the process on any other whence.
  if (whence != SEEK_SET && whence != SEEK_CUR && whence != SEEK_END) return -1;
  return platform::calls.SeekBuffered(file_.get(), offset, whence);
}

bool StreamCFile::IsEOF() { return !file_ || std::feof(file_.get()) != 0; }

bool StreamCFile::GetDescriptor(int* fd, int64_t* offset) {
  if (!file_) return false;
  *fd = platform::calls.BufferedDescriptor(file_.get());
  *offset = 0;
  return *fd != -1;
}

int64_t StreamCFile::Read(void* buffer, size_t count) {
  if (!file_) return 0;
  return static_cast<int64_t>(platform::calls.ReadBuffered(file_.get(), buffer, count));
}

int64_t StreamCFile::Write(const void* buffer, size_t count) {
  if (!file_) return 0;
  return static_cast<int64_t>(platform::calls.WriteBuffered(file_.get(), buffer, count));
}

Input* StreamCFile::Clone(Opener* opener, const std::string& path) {
  if (!file_) return ReopenByPath(opener, path);
  return CFileOver<InputCFile>(opener, path,
                               BufferedFile(platform::calls.ReopenBuffered(file_.get())));
}

}  // namespace velm::io
