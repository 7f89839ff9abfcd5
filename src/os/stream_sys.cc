#include "os/stream_sys.h"

#include <algorithm>
#include <cstdio>

#include "platform/platform.h"

namespace velm::io {
namespace {

unsigned int TransferCount(size_t count) {
  return static_cast<unsigned int>(std::min(count, platform::kMaxTransferBytes));
}

}  // namespace

StreamSys::StreamSys() = default;

StreamSys::~StreamSys() { Close(); }

int64_t StreamSys::Tell() {
  if (descriptor == -1) return 0;
  return platform::_lseeki64(descriptor, 0, SEEK_CUR);
}

int32_t StreamSys::Seek(int64_t offset, int32_t whence) {
  if (descriptor == -1) return -1;
  // The Microsoft runtime ends the process on any other whence.
  if (whence != SEEK_SET && whence != SEEK_CUR && whence != SEEK_END) return -1;
  return platform::_lseeki64(descriptor, offset, whence) < 0 ? -1 : 0;
}

int64_t StreamSys::GetSize() const { return size; }

bool StreamSys::IsEOF() {
  if (descriptor == -1) return true;
  // A failing call gives -1, which as unsigned lies beyond any size.
  auto position =
      static_cast<uint64_t>(platform::_lseeki64(descriptor, 0, SEEK_CUR));
  return position >= static_cast<uint64_t>(size);
}

void StreamSys::Close() {
  if (descriptor == -1) return;
  // Nothing is buffered here, so a failing close loses nothing to report.
  platform::_close(descriptor);
  descriptor = -1;
}

bool StreamSys::IsClosed() const { return descriptor == -1; }

const std::string& StreamSys::GetPath() const { return path; }

Opener* StreamSys::GetOpener() const { return opener; }

bool StreamSys::GetDescriptor(int* fd, int64_t* offset) {
  *fd = descriptor;
  *offset = 0;
  return descriptor != -1;
}

int64_t StreamSys::Read(void* buffer, size_t count) {
  if (descriptor == -1) return 0;
  return platform::_read(descriptor, buffer, TransferCount(count));
}

int64_t StreamSys::Write(const void* buffer, size_t count) {
  if (descriptor == -1) return 0;
  return platform::_write(descriptor, buffer, TransferCount(count));
}

}  // namespace velm::io
