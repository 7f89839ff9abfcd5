#ifndef VELMIO_PLATFORM_PLATFORM_H_
#define VELMIO_PLATFORM_PLATFORM_H_

// The one door to the operating system, in the library's own words. Every
// operation goes through the table `calls` below, so that a test can put a
// failing function in place of any one of them.
//
// What every implementation keeps, and the rest of the library relies on:
// - Paths are UTF-8 and `\` and `/` are equal in them; results carry
//   kPathSeparator. POSIX takes a name as the bytes it is, so a file whose
//   name is not UTF-8 is listed, opened and removed like any other.
// - A path that holds a NUL byte is refused with no system call: the system
//   would cut it there and act on another file.
// - A directory is never opened as a file.
// - A file this process maps is never emptied by an open for writing.
// - A read or write moves at most kMaxTransferBytes per call.
// Callers pass a whence of 0, 1 or 2 only: the streams refuse any other
// before a call, since the Microsoft runtime ends the process on one.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

namespace velm::platform {

#if defined(_WIN32)
inline constexpr char kPathSeparator = '\\';
#else
inline constexpr char kPathSeparator = '/';
#endif

// The most one read or write moves. A larger request is cut to it: a short
// transfer is allowed, the low 32 bits of the count would not be, and the
// Windows runtime refuses larger counts.
inline constexpr std::size_t kMaxTransferBytes = 0x7FFFFFFF;

inline bool IsSeparator(char c) { return c == '/' || c == '\\'; }

enum class Access { kRead, kWrite };

enum class FileKind { kMissing, kFile, kDirectory };

// How a mapping ended: mapped; the file could not be opened, sized or given
// a mapping (an empty file among them); or only its view failed.
enum class MapResult { kMapped, kNotOpened, kNoView };

struct DirectoryEntry {
  std::string name;
  bool is_directory = false;
};

// Which file a name leads to: equal identities are one file (device and
// inode; volume serial and file index on Windows).
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t file = 0;
  bool operator==(const FileIdentity& other) const {
    return device == other.device && file == other.file;
  }
};

// A whole file mapped read-only: size is the length of the view. `mapping` is
// what Unmap needs besides the address (the mapping handle on Windows).
struct MappedView {
  const char* data = nullptr;
  std::uint64_t size = 0;
  void* mapping = nullptr;
  FileIdentity identity;
};

// Pure text: whether path is relative by the rule of this platform (Linux: it
// does not begin with a separator; Windows: it begins with neither '\\' nor
// a drive).
bool IsRelativePath(const std::string& path);

struct Calls {
  // Paths. CurrentDirectory gives the process's directory; Canonicalize takes
  // an absolute path and works out "." and "..", false when the result does
  // not fit the platform's bound (2047 bytes; MAX_PATH units on Windows).
  bool (*CurrentDirectory)(std::string& out);
  bool (*Canonicalize)(const std::string& absolute, std::string& out);

  // Questions and changes by path. ModifiedTime is in seconds since 1970,
  // -1 for a directory or on failure. RemoveTree removes a file or a whole
  // directory, never following a link.
  FileKind (*KindOf)(const std::string& path);
  bool (*IdentityOf)(const std::string& path, FileIdentity& out);
  std::int64_t (*ModifiedTime)(const std::string& path);
  bool (*CreateDirectories)(const std::string& path);
  bool (*RemoveFile)(const std::string& path);
  bool (*RemoveTree)(const std::string& path);
  // Appends the entries of directory, "." and ".." included; "" is the root.
  // False, with nothing appended, if it cannot be read.
  bool (*ListDirectory)(const std::string& directory, std::vector<DirectoryEntry>& out);

  // Files on descriptors. Open gives a descriptor or -1; writing creates or
  // empties the file. Reopen gives a second descriptor to read the file that
  // descriptor has open, at position 0 and with a position of its own, even
  // once its path leads elsewhere or nowhere (on Linux through /proc). Seek
  // gives the new position or -1; Read, ReadAt and Write the count moved or
  // -1. ReadAt leaves the position alone on POSIX and moves it on Windows.
  int (*Open)(const std::string& path, Access access);
  int (*Reopen)(int descriptor);
  bool (*SizeOf)(int descriptor, std::int64_t& size);
  std::int64_t (*Seek)(int descriptor, std::int64_t offset, int whence);
  std::int64_t (*Read)(int descriptor, void* buffer, std::size_t count);
  std::int64_t (*ReadAt)(int descriptor, void* buffer, std::size_t count, std::int64_t offset);
  std::int64_t (*Write)(int descriptor, const void* buffer, std::size_t count);
  bool (*Close)(int descriptor);

  // Files through the runtime's buffered FILE, opened "rb" or "wb";
  // ReopenBuffered is Reopen for a FILE opened to read. Reads and writes move
  // at most kMaxTransferBytes. Once a write has failed (the buffer could not
  // go out), WriteBuffered takes nothing more: bytes behind lost ones would
  // be a lie about the file.
  std::FILE* (*OpenBuffered)(const std::string& path, Access access);
  std::FILE* (*ReopenBuffered)(std::FILE* file);
  std::size_t (*ReadBuffered)(std::FILE* file, void* buffer, std::size_t count);
  std::size_t (*WriteBuffered)(std::FILE* file, const void* buffer, std::size_t count);
  int (*SeekBuffered)(std::FILE* file, std::int64_t offset, int whence);
  std::int64_t (*TellBuffered)(std::FILE* file);
  int (*BufferedDescriptor)(std::FILE* file);
  bool (*CloseBuffered)(std::FILE* file);

  // A whole non-empty file mapped read-only. On Windows a file that anyone
  // holds open is not mapped.
  MapResult (*Map)(const std::string& path, MappedView& view);
  void (*Unmap)(const MappedView& view);
  // Asks for huge pages behind a fresh block about to be written whole. Only
  // a hint.
  void (*AdviseLargePages)(void* block, std::size_t bytes);

  // Seconds since 1970 of a local broken-down time, or -1.
  std::int64_t (*LocalTime)(std::tm* time);
};

// The operations of this platform.
extern const Calls kNativeCalls;

// What the library calls. A test changes entries while no library call runs,
// and puts kNativeCalls back afterwards; the library only reads it.
extern Calls calls;

}  // namespace velm::platform

#endif  // VELMIO_PLATFORM_PLATFORM_H_
