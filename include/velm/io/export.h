#ifndef VELM_IO_EXPORT_H_
#define VELM_IO_EXPORT_H_

// VELMIO_API marks the only entities the shared library exports; everything
// else is hidden by the build.
#if defined(_WIN32)
#if defined(VELMIO_BUILDING)
#define VELMIO_API __declspec(dllexport)
#else
#define VELMIO_API __declspec(dllimport)
#endif
#else
#define VELMIO_API __attribute__((visibility("default")))
#endif

// <windows.h> defines RemoveDirectory as RemoveDirectoryA or RemoveDirectoryW.
// The opener header declares Opener::RemoveDirectory with that macro
// suspended, so the operation keeps its name in every program, and adds these
// forwarders for calls written where the macro is in force: there
// `opener->RemoveDirectory(path)` reads `opener->RemoveDirectoryA(path)` and
// still reaches the virtual operation. They are templates so that the DLL,
// which never calls them, exports nothing new and the virtual table keeps its
// order.
#if defined(_WIN32)
#define VELMIO_REMOVE_DIRECTORY_FORWARDERS  \
  template <typename Path>                  \
  bool RemoveDirectoryA(const Path& path) { \
    return RemoveDirectory(path);           \
  }                                         \
  template <typename Path>                  \
  bool RemoveDirectoryW(const Path& path) { \
    return RemoveDirectory(path);           \
  }
#else
#define VELMIO_REMOVE_DIRECTORY_FORWARDERS
#endif

#endif  // VELM_IO_EXPORT_H_
