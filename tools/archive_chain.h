// An archive named on the command line: ARCHIVE, or ARCHIVE::INNER for an
// archive inside an archive (any depth), each inner one loaded through the
// one around it.
#ifndef VELMIO_TOOLS_ARCHIVE_CHAIN_H_
#define VELMIO_TOOLS_ARCHIVE_CHAIN_H_

#include <string>
#include <vector>

#include <velm/io/opener>

namespace tool {

class ArchiveChain {
 public:
  ArchiveChain() = default;
  ArchiveChain(const ArchiveChain&) = delete;
  ArchiveChain& operator=(const ArchiveChain&) = delete;
  ~ArchiveChain();  // unloads the innermost archive first

  // Loads every archive around the innermost one; false after an error line.
  bool OpenContainer(const std::string& name, velm::io::OpenerType via);

  // Loads the innermost archive; null after an error line. The chain keeps
  // it and unloads it.
  velm::io::Opener* Load();

  // Where the innermost archive file lies: the OS back-end or the archive
  // around it, and its path there.
  velm::io::Opener& container() const { return *container_; }
  const std::string& path() const { return path_; }
  bool nested() const { return container_ != base_; }
  const std::string& name() const { return name_; }

 private:
  velm::io::Opener* LoadLevel(const std::string& shown_name);

  std::string name_;
  velm::io::Opener* base_ = nullptr;  // the OS back-end of --via
  velm::io::Opener* container_ = nullptr;
  std::string path_;
  std::vector<velm::io::Opener*> loaded_;  // outermost first
};

}  // namespace tool

#endif  // VELMIO_TOOLS_ARCHIVE_CHAIN_H_
