// An archive named on the command line: ARCHIVE, or ARCHIVE::INNER for an
// archive inside an archive (any depth), each inner one loaded through the
// one around it.
#ifndef VELMIO_TOOLS_ARCHIVE_CHAIN_H_
#define VELMIO_TOOLS_ARCHIVE_CHAIN_H_

#include <memory>
#include <string>
#include <vector>

#include <velm/io/opener>

#include "library_walk.h"

namespace tool {

class ArchiveChain {
 public:
  ArchiveChain() = default;
  ArchiveChain(const ArchiveChain&) = delete;
  ArchiveChain& operator=(const ArchiveChain&) = delete;
  ~ArchiveChain();  // unloads the innermost archive first

  // Loads every archive around the innermost one; false after an error line.
  bool OpenContainer(const std::string& name, velm::io::OpenerType via);

  // Loads the innermost archive, watching the library's walk; null after an
  // error line. The chain keeps it and unloads it. An archive of no members,
  // which the library refuses, loads as one that holds nothing.
  velm::io::Opener* Load();

  // After Load: true when the library read every record of the archive; else
  // false after an error line that says where its walk stopped.
  bool ReadsWhole();

  // Where the innermost archive file lies: the OS back-end or the archive
  // around it, and its path there.
  velm::io::Opener& container() const { return *container_; }
  const std::string& path() const { return path_; }
  bool nested() const { return container_ != base_; }
  const std::string& name() const { return name_; }
  const LibraryWalk& walk() const { return walk_; }

 private:
  velm::io::Opener* LoadLevel(const std::string& shown_name, LibraryWalk* walk);

  std::string name_;
  velm::io::Opener* base_ = nullptr;  // the OS back-end of --via
  velm::io::Opener* container_ = nullptr;
  std::string path_;
  std::vector<velm::io::Opener*> loaded_;  // outermost first
  LibraryWalk walk_;
  std::unique_ptr<velm::io::Opener> empty_;
};

}  // namespace tool

#endif  // VELMIO_TOOLS_ARCHIVE_CHAIN_H_
