// What the library's walk of an archive's local headers saw: the records it
// indexed, where each lies, and where the walk stopped. The library tells the
// records in its per-record scan lines; the archive stream that it reads
// tells where the walk stands when each line comes.
#ifndef VELMIO_TOOLS_LIBRARY_WALK_H_
#define VELMIO_TOOLS_LIBRARY_WALK_H_

#include <cstdint>
#include <string>
#include <vector>

#include <velm/io/opener>

namespace tool {

struct WalkRecord {
  std::string name;  // as the library indexes it: up to a NUL byte
  uint16_t flags = 0;
  uint64_t start = 0;  // of the local header
  uint64_t end = 0;    // behind the data and any data descriptor
};

struct LibraryWalk {
  std::vector<WalkRecord> records;  // in file order, repeated names included
  uint64_t end = 0;                 // where the walk stopped
  bool followed = true;             // false when a scan line could not be read
};

// LoadZip(path, &container), with the walk recorded in walk.
velm::io::Opener* LoadWatched(velm::io::Opener& container, const std::string& path,
                              LibraryWalk& walk);

// True when the walk stopped at the central directory, an end record or the
// end of file: nothing behind it was left unread.
bool WalkReadsWhole(velm::io::Input& file, const LibraryWalk& walk);

}  // namespace tool

#endif  // VELMIO_TOOLS_LIBRARY_WALK_H_
