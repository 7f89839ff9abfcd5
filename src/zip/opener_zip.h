#ifndef VELMIO_ZIP_OPENER_ZIP_H_
#define VELMIO_ZIP_OPENER_ZIP_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <velm/io/opener>

#include "zip/archive_reader.h"
#include "zip/member_index.h"
#include "zip/zip_entry.h"

namespace velm::io {

// The members of one zip archive, indexed by a single walk over its local
// headers. The index is read-only after the scan, and opens read the archive
// through reader_, so queries and opens may run from several threads at once.
class OpenerZip final : public Opener {
 public:
  OpenerZip();
  OpenerZip(const OpenerZip&) = delete;
  OpenerZip& operator=(const OpenerZip&) = delete;

  // A scanned archive that owns archive from now on, or null if the archive
  // holds no record; then the caller still owns archive.
  static OpenerZip* Create(Input* archive);

  OpenerType GetType() const override;
  Input* OpenInput(const std::string& path) override;
  Output* OpenOutput(const std::string& path) override;
  const std::string& GetName() const override;
  const std::string& GetRoot() const override;
  bool IsFile(const std::string& path) override;
  bool IsDirectory(const std::string& path) override;
  bool StandardizePath(const std::string& path, std::string& out) override;
  int64_t GetModifiedTime(const std::string& path) override;
  bool CreateDirectories(const std::string& path) override;
  bool RemoveFile(const std::string& path) override;
  bool RemoveDirectory(const std::string& path) override;
  void List(const std::string& path, std::vector<std::string>& out) override;
  void ListFiles(const std::string& path, bool recursive, std::vector<std::string>& out) override;

 private:
  bool ScanArchive(Input* archive);
  // Adds to key_bytes the lengths of the name and of those of its parent
  // prefixes that are not indexed yet, and lists the latter in parents,
  // deepest first, as their lengths and hashes. False, with key_bytes
  // unchanged, as soon as the sum would pass bound, or the names would not
  // fit the index's pool.
  bool ReserveKeys(std::string_view name, uint64_t bound, uint64_t& key_bytes,
                   std::vector<std::pair<size_t, size_t>>& parents) const;
  // The standardised path as a directory prefix: "" for the root, else with
  // a trailing "/". False for a refused path.
  bool DirectoryPrefix(const std::string& path, std::string& prefix);
  Input* OpenStored(const std::string& path, const ZipEntry& entry);
  Input* OpenDeflated(const std::string& path, const ZipEntry& entry);

  // The archive's stream and the only way to its bytes after the scan;
  // shared with the open stored members.
  std::shared_ptr<ArchiveReader> reader_;
  std::string name_;
  std::string root_;
  MemberIndex index_;
};

}  // namespace velm::io

#endif  // VELMIO_ZIP_OPENER_ZIP_H_
