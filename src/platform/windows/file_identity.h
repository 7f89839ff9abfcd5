#ifndef VELMIO_PLATFORM_WINDOWS_FILE_IDENTITY_H_
#define VELMIO_PLATFORM_WINDOWS_FILE_IDENTITY_H_

#include <cstdint>

#include "platform/platform.h"
#include "platform/windows/win32.h"

namespace velm::platform::windows {

// The volume serial and file index of the file open on handle, and its size
// where size is given: the same call tells both.
inline bool IdentityOfHandle(HANDLE handle, FileIdentity& out, std::uint64_t* size = nullptr) {
  BY_HANDLE_FILE_INFORMATION information;
  if (!GetFileInformationByHandle(handle, &information)) return false;
  out.device = information.dwVolumeSerialNumber;
  out.file =
      (static_cast<std::uint64_t>(information.nFileIndexHigh) << 32) | information.nFileIndexLow;
  if (size != nullptr) {
    *size =
        (static_cast<std::uint64_t>(information.nFileSizeHigh) << 32) | information.nFileSizeLow;
  }
  return true;
}

}  // namespace velm::platform::windows

#endif  // VELMIO_PLATFORM_WINDOWS_FILE_IDENTITY_H_
