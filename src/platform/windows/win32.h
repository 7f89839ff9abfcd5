#ifndef VELMIO_PLATFORM_WINDOWS_WIN32_H_
#define VELMIO_PLATFORM_WINDOWS_WIN32_H_

// <windows.h> as every file of this directory includes it. Nothing outside
// this directory may see it: its macros (RemoveDirectory among them) would
// rename the library's own names.

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#endif  // VELMIO_PLATFORM_WINDOWS_WIN32_H_
