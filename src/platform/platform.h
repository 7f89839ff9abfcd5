#ifndef VELMIO_PLATFORM_PLATFORM_H_
#define VELMIO_PLATFORM_PLATFORM_H_

// The one door to the operating system. Subsystems call the services by their
// Windows names, as platform::CreateFileW(...), with the Windows constants.
// Each name calls through a table of function pointers (see Syscalls below)
// that starts out with platform::native: on Windows the real functions,
// elsewhere their implementation over POSIX in src/platform/posix/.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>

#if defined(_WIN32)

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <sys/types.h>
// <windows.h> would otherwise rename Opener::RemoveDirectory in every file
// that includes both.
#undef RemoveDirectory

#define VELM_WIDE(text) L##text

namespace platform {

using ::BOOL;
using ::DWORD;
using ::FILETIME;
using ::HANDLE;
using ::SHFILEOPSTRUCTW;
using ::UINT;
using ::WIN32_FIND_DATAW;
using WCHAR = wchar_t;
using Stat64 = struct ::_stat64;

inline constexpr char kPathSeparator = '\\';

// The shell's path calls take at most MAX_PATH units, terminator included,
// and a longer path is not handed to them.
inline constexpr std::size_t kShellPathUnits = MAX_PATH;

// The real system functions.
namespace native {

using ::CloseHandle;
using ::CreateFileMappingW;
using ::CreateFileW;
using ::DeleteFileW;
using ::FindClose;
using ::FindFirstFileW;
using ::FindNextFileW;
using ::GetCurrentDirectoryW;
using ::GetFileAttributesW;
using ::GetFileSize;
using ::GetFileTime;
using ::MapViewOfFile;
using ::MultiByteToWideChar;
using ::PathAppendW;
using ::PathCanonicalizeW;
using ::PathIsRelativeW;
using ::SHCreateDirectoryExW;
using ::SHFileOperationW;
using ::UnmapViewOfFile;
using ::WideCharToMultiByte;

using ::_close;
using ::_fileno;
using ::_fseeki64;
using ::_fstat64;
using ::_ftelli64;
using ::_lseeki64;
using ::_mktime64;
using ::_read;
using ::_wfopen;
using ::_write;
using ::_wsopen_s;
using ::fclose;
using ::feof;
using ::fread;
using ::fwrite;

// The runtime has no positional read of a descriptor: ReadFile with an offset
// in an OVERLAPPED on the descriptor's handle is one. On a synchronous handle
// it also moves the file pointer to behind the bytes read, so a caller must
// not rely on the descriptor's position afterwards.
inline int ReadAt(int descriptor, void* buffer, unsigned int count,
                  std::int64_t offset) {
  const auto file = reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor));
  if (file == INVALID_HANDLE_VALUE || offset < 0) return -1;
  OVERLAPPED at = {};
  at.Offset = static_cast<DWORD>(offset);
  at.OffsetHigh = static_cast<DWORD>(static_cast<std::uint64_t>(offset) >> 32);
  DWORD got = 0;
  if (::ReadFile(file, buffer, count, &got, &at)) return static_cast<int>(got);
  return ::GetLastError() == ERROR_HANDLE_EOF ? 0 : -1;
}

// Large pages need a privilege on Windows; the hint has nothing to do there.
inline void AdviseLargePages(void*, std::size_t) {}

}  // namespace native

}  // namespace platform

#else  // POSIX

#define VELM_WIDE(text) u##text

namespace platform {

using BOOL = int;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using HANDLE = void*;
using WCHAR = char16_t;

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

struct WIN32_FIND_DATAW {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD dwReserved0;
  DWORD dwReserved1;
  WCHAR cFileName[260];
  WCHAR cAlternateFileName[14];
};

struct SHFILEOPSTRUCTW {
  void* hwnd;
  UINT wFunc;
  const WCHAR* pFrom;
  const WCHAR* pTo;
  unsigned short fFlags;
  BOOL fAnyOperationsAborted;
  void* hNameMappings;
  const WCHAR* lpszProgressTitle;
};

struct Stat64 {
  std::int64_t st_size;
  unsigned int st_mode;
};

inline constexpr char kPathSeparator = '/';

// The path calls here take text of any length; PathCanonicalizeW bounds its
// result by kPathBufferUnits.
inline constexpr std::size_t kShellPathUnits = static_cast<std::size_t>(-1);

// The system calls, implemented over POSIX in src/platform/posix/.
namespace native {

// Text (kernel32).
int MultiByteToWideChar(UINT code_page, DWORD flags, const char* source,
                        int source_bytes, WCHAR* destination,
                        int destination_units);
int WideCharToMultiByte(UINT code_page, DWORD flags, const WCHAR* source,
                        int source_units, char* destination,
                        int destination_bytes, const char* default_char,
                        BOOL* used_default_char);

// Paths (kernel32, shlwapi).
DWORD GetCurrentDirectoryW(DWORD size, WCHAR* destination);
BOOL PathIsRelativeW(const WCHAR* path);
BOOL PathAppendW(WCHAR* path, const WCHAR* more);
BOOL PathCanonicalizeW(WCHAR* destination, const WCHAR* source);

// Files (kernel32, shell32).
DWORD GetFileAttributesW(const WCHAR* path);
HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD share_mode,
                   void* security, DWORD disposition, DWORD flags,
                   HANDLE template_file);
BOOL GetFileTime(HANDLE file, FILETIME* creation, FILETIME* last_access,
                 FILETIME* last_write);
DWORD GetFileSize(HANDLE file, DWORD* size_high);
BOOL CloseHandle(HANDLE handle);
BOOL DeleteFileW(const WCHAR* path);
int SHCreateDirectoryExW(void* window, const WCHAR* path, const void* security);
int SHFileOperationW(SHFILEOPSTRUCTW* operation);

// Directory enumeration (kernel32).
HANDLE FindFirstFileW(const WCHAR* pattern, WIN32_FIND_DATAW* found);
BOOL FindNextFileW(HANDLE search, WIN32_FIND_DATAW* found);
BOOL FindClose(HANDLE search);

// Memory: lets the kernel back the whole 2 MiB pages of a fresh block that is
// about to be written whole with transparent huge pages (madvise), so that
// filling it takes one fault per 2 MiB instead of one per 4 KiB. Only a hint.
void AdviseLargePages(void* block, std::size_t bytes);

// File mapping (kernel32).
HANDLE CreateFileMappingW(HANDLE file, void* security, DWORD protect,
                          DWORD maximum_size_high, DWORD maximum_size_low,
                          const WCHAR* name);
void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD offset_high,
                    DWORD offset_low, std::size_t bytes);
BOOL UnmapViewOfFile(const void* view);

// CRT descriptors.
int _wsopen_s(int* descriptor, const WCHAR* path, int oflag, int shflag,
              int pmode);
int _fstat64(int descriptor, Stat64* status);
std::int64_t _lseeki64(int descriptor, std::int64_t offset, int whence);
int _read(int descriptor, void* buffer, unsigned int count);
int _write(int descriptor, const void* buffer, unsigned int count);
int _close(int descriptor);
// count bytes at offset, the descriptor's position unchanged (pread); the
// count rule of _read.
int ReadAt(int descriptor, void* buffer, unsigned int count,
           std::int64_t offset);

// CRT stdio.
std::FILE* _wfopen(const WCHAR* path, const WCHAR* mode);
using ::fclose;
using ::feof;
using ::fread;
using ::fwrite;
int _fileno(std::FILE* file);
int _fseeki64(std::FILE* file, std::int64_t offset, int whence);
std::int64_t _ftelli64(std::FILE* file);

// CRT time.
std::int64_t _mktime64(std::tm* time);

}  // namespace native
}  // namespace platform

// The Windows constants the library passes, with their Windows values.
#define CP_UTF8 65001u
#define GENERIC_READ 0x80000000u
#define FILE_SHARE_READ 0x00000001u
#define OPEN_EXISTING 3u
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010u
#define FILE_ATTRIBUTE_NORMAL 0x00000080u
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu
#define INVALID_HANDLE_VALUE (reinterpret_cast<platform::HANDLE>(-1))
#define PAGE_READONLY 0x02u
#define FILE_MAP_READ 0x0004u
#define ERROR_ALREADY_EXISTS 183
#define ERROR_BAD_PATHNAME 161
#define ERROR_FILE_NOT_FOUND 2
#define FO_DELETE 0x0003u
#define FOF_SILENT 0x0004u
#define FOF_NOCONFIRMATION 0x0010u
#define FOF_NOCONFIRMMKDIR 0x0200u
#define FOF_NOERRORUI 0x0400u
#define _O_RDONLY 0x0000
#define _O_WRONLY 0x0001
#define _O_RANDOM 0x0010
#define _O_CREAT 0x0100
#define _O_TRUNC 0x0200
#define _O_BINARY 0x8000
#define _SH_DENYNO 0x40
#define _S_IREAD 0x0100
#define _S_IWRITE 0x0080

#endif  // _WIN32

namespace platform {

using WideString = std::basic_string<WCHAR>;

// Units of the buffers that the library hands to the path calls, terminator
// included. The POSIX path calls fill no more; the Windows ones stop at
// MAX_PATH (260) long before.
inline constexpr std::size_t kPathBufferUnits = 2048;

// Paths converted between UTF-8 and UTF-16 stay on the stack up to this many
// units (bytes for UTF-8), terminator included; longer ones go to the heap.
inline constexpr int kInlinePathUnits = 512;

// The most one descriptor read or write can report in its signed 32-bit
// result. A larger request is cut to it: a short transfer is allowed, a count
// of the low 32 bits would not be, and the Windows CRT rejects larger counts.
inline constexpr std::size_t kMaxTransferBytes = 0x7FFFFFFF;

// A FILETIME counts 100 ns ticks from 1601-01-01, this many seconds before
// 1970-01-01.
inline constexpr std::int64_t kTicksPerSecond = 10000000;
inline constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;

// Every platform call the library makes, grouped by the services they use;
// ReadAt, the positional read that archives use, stands beside _read, and
// AdviseLargePages, for the output of large members, beside the mappings.
#define VELM_PLATFORM_CALLS(X)                                               \
  X(MultiByteToWideChar) X(WideCharToMultiByte)                              \
  X(GetCurrentDirectoryW) X(PathIsRelativeW) X(PathAppendW)                  \
  X(PathCanonicalizeW)                                                       \
  X(GetFileAttributesW) X(CreateFileW) X(GetFileTime) X(GetFileSize)         \
  X(CloseHandle) X(DeleteFileW) X(SHCreateDirectoryExW) X(SHFileOperationW)  \
  X(FindFirstFileW) X(FindNextFileW) X(FindClose)                            \
  X(CreateFileMappingW) X(MapViewOfFile) X(UnmapViewOfFile)                  \
  X(AdviseLargePages)                                                        \
  X(_wsopen_s) X(_fstat64) X(_lseeki64) X(_read) X(ReadAt) X(_write)         \
  X(_close)                                                                  \
  X(_wfopen) X(fclose) X(feof) X(fread) X(fwrite) X(_fileno) X(_fseeki64)    \
  X(_ftelli64)                                                               \
  X(_mktime64)

// The calls as the library makes them: one pointer per call, as in SQLite's
// aSyscall, so that a test can put a failing function in place of any one
// entry. The library only reads the table. A test writes it while no library
// call runs and puts the defaults back afterwards, hence no lock.
struct Syscalls {
#define VELM_SYSCALL_ENTRY(name) decltype(&native::name) name;
  VELM_PLATFORM_CALLS(VELM_SYSCALL_ENTRY)
#undef VELM_SYSCALL_ENTRY
};

extern Syscalls syscalls;
extern const Syscalls kNativeSyscalls;

// Puts every entry back to its platform::native function.
inline void ResetSyscalls() { syscalls = kNativeSyscalls; }

// platform::CreateFileW(...) and the rest call through their entry.
#define VELM_SYSCALL_NAME(name) inline decltype(&native::name)& name = syscalls.name;
VELM_PLATFORM_CALLS(VELM_SYSCALL_NAME)
#undef VELM_SYSCALL_NAME

}  // namespace platform

#endif  // VELMIO_PLATFORM_PLATFORM_H_
