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

#endif  // VELM_IO_EXPORT_H_
