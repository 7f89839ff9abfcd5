// What ls -l and stat show of one path of a back-end.
#ifndef VELMIO_TOOLS_ENTRY_INFO_H_
#define VELMIO_TOOLS_ENTRY_INFO_H_

#include <cstdint>
#include <string>

#include <velm/io/opener>

namespace tool {

struct EntryInfo {
  bool exists = false;
  bool directory = false;
  int64_t size = -1;      // -1: a directory, or a file that cannot be opened
  int64_t modified = -1;  // seconds since 1970, -1 when unknown
};

// A file's size is that of the stream opened on it: a deflated member is
// inflated for it.
EntryInfo Describe(velm::io::Opener& opener, const std::string& path);

// "2024-05-01 12:00:00" in local time, or "-".
std::string FormatTime(int64_t seconds);

// The size as a number, or "-".
std::string FormatSize(int64_t size);

}  // namespace tool

#endif  // VELMIO_TOOLS_ENTRY_INFO_H_
