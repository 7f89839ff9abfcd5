#include "sys/stream_sys.h"

#include <cstdio>

namespace velm::io {

int64_t StreamSys::Tell() {
  if (!descriptor_) return 0;
  return platform::calls.Seek(descriptor_.get(), 0, SEEK_CUR);
}

int32_t StreamSys::Seek(int64_t offset, int32_t whence) {
  if (!descriptor_) return -1;
  // The Microsoft runtime ends the process on any other whence.
  if (whence != SEEK_SET && whence != SEEK_CUR && whence != SEEK_END) return -1;
  return platform::calls.Seek(descriptor_.get(), offset, whence) < 0 ? -1 : 0;
}

bool StreamSys::IsEOF() {
  if (!descriptor_) return true;
  // A failing call gives -1, which as unsigned lies beyond any size.
  const auto position = static_cast<uint64_t>(platform::calls.Seek(descriptor_.get(), 0, SEEK_CUR));
  return position >= static_cast<uint64_t>(size_);
}

bool StreamSys::GetDescriptor(int* fd, int64_t* offset) {
  *fd = descriptor_.get();
  *offset = 0;
  return static_cast<bool>(descriptor_);
}

int64_t StreamSys::Read(void* buffer, size_t count) {
  if (!descriptor_) return 0;
  return platform::calls.Read(descriptor_.get(), buffer, count);
}

int64_t StreamSys::Write(const void* buffer, size_t count) {
  if (!descriptor_) return 0;
  return platform::calls.Write(descriptor_.get(), buffer, count);
}

Input* StreamSys::Clone(Opener* opener, const std::string& path) {
  if (!descriptor_) return ReopenByPath(opener, path);
  return StreamOver<InputSys>(opener, path,
                              platform::Descriptor(platform::calls.Reopen(descriptor_.get())));
}

}  // namespace velm::io
