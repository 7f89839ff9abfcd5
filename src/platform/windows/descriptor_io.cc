#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/native.h"
#include "platform/platform.h"
#include "platform/windows/owned_handle.h"
#include "platform/windows/wide_text.h"
#include "platform/windows/win32.h"

namespace velm::platform::native {
namespace {

// _read and _write take an unsigned 32-bit count and report in a signed one.
unsigned int TransferCount(std::size_t count) {
  return static_cast<unsigned int>(std::min(count, kMaxTransferBytes));
}

}  // namespace

int Open(const std::string& path, Access access) {
  windows::WidePath wide(path);
  if (wide.IsRefused()) return -1;
  const bool write = access == Access::kWrite;
  const int oflag = write ? _O_BINARY | _O_TRUNC | _O_CREAT | _O_RANDOM | _O_WRONLY
                          : _O_BINARY | _O_RANDOM | _O_RDONLY;
  const int pmode = write ? _S_IWRITE : _S_IREAD;
  int descriptor = -1;
  if (_wsopen_s(&descriptor, wide.text, oflag, _SH_DENYNO, pmode) != 0) {
    return -1;
  }
  return descriptor;
}

int Reopen(int descriptor) {
  const auto file = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
  if (file == INVALID_HANDLE_VALUE) return -1;
  // A new handle on the open file itself, with a file pointer of its own at
  // 0; DuplicateHandle would share the pointer.
  HANDLE opened =
      ReOpenFile(file, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, FILE_FLAG_RANDOM_ACCESS);
  if (opened == INVALID_HANDLE_VALUE) return -1;
  windows::OwnedHandle handle(opened);
  const int fd = _open_osfhandle(reinterpret_cast<intptr_t>(handle.get()), _O_RDONLY | _O_BINARY);
  // From here the descriptor owns the handle.
  if (fd != -1) handle.release();
  return fd;
}

bool SizeOf(int descriptor, std::int64_t& size) {
  struct _stat64 status;
  if (_fstat64(descriptor, &status) != 0) return false;
  size = status.st_size;
  return true;
}

std::int64_t Seek(int descriptor, std::int64_t offset, int whence) {
  return _lseeki64(descriptor, offset, whence);
}

std::int64_t Read(int descriptor, void* buffer, std::size_t count) {
  return _read(descriptor, buffer, TransferCount(count));
}

// The runtime has no positional read: ReadFile with the offset in an
// OVERLAPPED, on the descriptor's own handle, is one. On a synchronous handle
// it also moves the file pointer behind the bytes read.
std::int64_t ReadAt(int descriptor, void* buffer, std::size_t count, std::int64_t offset) {
  if (offset < 0) return -1;
  const auto file = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
  if (file == INVALID_HANDLE_VALUE) return -1;
  OVERLAPPED at = {};
  at.Offset = static_cast<DWORD>(offset);
  at.OffsetHigh = static_cast<DWORD>(static_cast<std::uint64_t>(offset) >> 32);
  DWORD got = 0;
  if (ReadFile(file, buffer, TransferCount(count), &got, &at)) return got;
  return GetLastError() == ERROR_HANDLE_EOF ? 0 : -1;
}

std::int64_t Write(int descriptor, const void* buffer, std::size_t count) {
  return _write(descriptor, buffer, TransferCount(count));
}

bool Close(int descriptor) { return _close(descriptor) == 0; }

}  // namespace velm::platform::native
