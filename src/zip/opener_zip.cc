#include "zip/opener_zip.h"

#include <memory>

#include <velm/log/log>

#include "zip/inflate_member.h"
#include "zip/input_zip.h"
#include "zip/local_record.h"
#include "zip/read_ahead_input.h"
#include "zip/zip_format.h"

namespace velm::io {

namespace {

// The keys of the index, parents included, may take this many bytes per byte
// of archive walked, plus a fixed allowance. Parent entries let the keys of
// one name grow with the square of its length; archives that real tools
// write stay far below. The record that would pass the bound ends the walk
// as a malformed record does.
constexpr uint64_t kKeyBytesPerArchiveByte = 4;
constexpr uint64_t kKeyBytesAllowance = uint64_t{1} << 20;

uint64_t KeyBound(int64_t walked) {
  const uint64_t bytes = walked > 0 ? static_cast<uint64_t>(walked) : 0;
  return kKeyBytesPerArchiveByte * bytes + kKeyBytesAllowance;
}

}  // namespace

OpenerZip::OpenerZip() : name_("zip"), root_("zip") {}

OpenerZip* OpenerZip::Create(Input* archive) {
  std::unique_ptr<OpenerZip> zip(new OpenerZip());
  if (!zip->ScanArchive(archive)) return nullptr;
  return zip.release();
}

bool OpenerZip::ScanArchive(Input* archive) {
  // The walk reads ahead where it can; the archive's own stream is the one
  // the reader keeps.
  std::unique_ptr<ReadAheadInput> read_ahead = ReadAheadInput::Over(archive);
  Input* input = read_ahead ? read_ahead.get() : archive;
  // Where the walk starts is fixed by the format, so a failing seek is left
  // to show itself in the reads that follow.
  input->Seek(0, 0);
  if (!input->IsEOF()) {
    LocalRecord record;
    std::vector<std::pair<size_t, size_t>> parents;
    uint64_t key_bytes = 0;
    while (ReadLocalRecord(input, record)) {
      const std::string& entry_name = record.name;
      const ZipEntry& entry = record.entry;
      // The first record of a name wins; a later one is logged and skipped.
      const size_t hash = MemberIndex::Hash(entry_name);
      const bool first = index_.Find(entry_name, hash) == nullptr;
      // Parents are checked before any of their keys is made, so that the
      // check costs no more than the bound allows. The record that passes
      // the bound leaves nothing.
      parents.clear();
      if (first && !ReserveKeys(entry_name, KeyBound(record.name_end), key_bytes, parents)) break;
      // The header's own values, 32 bits through %d, whatever a Zip64 field
      // or a descriptor said.
      velm::log::Log(LogChannel, -1,
                     "Find zipped file %s, compress_method %d, compress_size "
                     "%d, uncompress_size %d, flags %d, offset %d",
                     entry_name.c_str(), static_cast<int>(entry.compress_method),
                     static_cast<int>(record.header_compress_size),
                     static_cast<int>(record.header_uncompress_size), static_cast<int>(entry.flags),
                     static_cast<int>(entry.offset));
      if (first) {
        index_.Add(entry_name, hash, entry);
        for (const auto& [length, parent_hash] : parents)
          index_.Add(std::string_view(entry_name).substr(0, length), parent_hash, {});
      }
      if (input->IsEOF()) break;
    }
  }
  if (index_.size() == 0) return false;

  // Everything that can throw comes before taking ownership, so that a
  // failure leaves the archive with the caller alone.
  std::string new_root = archive->GetPath() + "://";
  // The reader takes input only once its memory is had.
  reader_ = std::make_shared<ArchiveReader>(archive);
  root_.swap(new_root);
  return true;
}

bool OpenerZip::ReserveKeys(std::string_view entry_name, uint64_t bound, uint64_t& key_bytes,
                            std::vector<std::pair<size_t, size_t>>& parents) const {
  uint64_t total = key_bytes + entry_name.size();
  uint64_t pooled = entry_name.size() + 2;
  if (total > bound) return false;
  // Index 0 is never a parent's end, so a leading "/" makes no entry "/".
  for (size_t i = entry_name.size(); i-- > 1;) {
    if (entry_name[i] != '/') continue;
    // A name that ends in "/" is its own first prefix: it makes no parents.
    if (i + 1 == entry_name.size()) break;
    const std::string_view prefix = entry_name.substr(0, i + 1);
    // A known prefix means everything above it is known as well.
    const size_t hash = MemberIndex::Hash(prefix);
    if (index_.Find(prefix, hash) != nullptr) break;
    total += prefix.size();
    pooled += prefix.size() + 2;
    if (total > bound) return false;
    parents.emplace_back(prefix.size(), hash);
  }
  // A name that does not fit the rest of a pool chunk leaves that rest
  // unused: the pool grows by at most twice what it holds.
  if (index_.pool_bytes() + 2 * pooled > MemberIndex::kPoolLimit) return false;
  key_bytes = total;
  return true;
}

Input* OpenerZip::OpenInput(const std::string& path) {
  std::string standard;
  if (!StandardizePath(path, standard) || standard.empty()) return nullptr;
  const ZipEntry* found = index_.Find(standard);
  if (found == nullptr) return nullptr;
  const ZipEntry& entry = *found;
  switch (entry.compress_method) {
    case zip::kMethodStored:
      return OpenStored(standard, entry);
    case zip::kMethodDeflated:
      return OpenDeflated(standard, entry);
    default:
      velm::log::LogError(LogChannel, "Compress method %d is not available for file %s",
                          static_cast<int>(entry.compress_method), standard.c_str());
      return nullptr;
  }
}

Input* OpenerZip::OpenStored(const std::string& path, const ZipEntry& entry) {
  return new InputZipStored(this, path, StoredSlice(reader_, entry.offset, entry.uncompress_size));
}

Input* OpenerZip::OpenDeflated(const std::string& path, const ZipEntry& entry) {
  // Read without the archive's shared position, so that opens of one archive
  // may run at once.
  ArchiveReader::Span compressed;
  if (entry.uncompress_size > 0) compressed = reader_->Read(entry.offset, entry.compress_size);
  InflatedMember member;
  // Bytes lost to a failing read are not the end of the data: zeros in their
  // place would be a lie.
  if (compressed.failed) {
    member.result = InflateResult::kInflateError;
  } else {
    member = InflateMember(compressed.bytes, compressed.count, entry.uncompress_size);
  }
  switch (member.result) {
    case InflateResult::kDone:
      break;
    case InflateResult::kDataError:
      log::LogError(LogChannel, "Z_DATA_ERROR Failed to inflate file %s", path.c_str());
      return nullptr;
    case InflateResult::kInflateError:
      log::LogError(LogChannel, "Failed to inflate file %s", path.c_str());
      return nullptr;
    case InflateResult::kEndError:
      log::LogError(LogChannel, "Failed to inflateEnd file %s", path.c_str());
      return nullptr;
  }
  // Only a whole member can be checked; a recorded 0 is a writer that did not
  // know the value.
  if (member.held == entry.uncompress_size && entry.crc32 != 0 &&
      Crc32(0, member.bytes.get(), member.held) != entry.crc32) {
    log::LogError(LogChannel, "CRC-32 mismatch in file %s", path.c_str());
    return nullptr;
  }
  return new InputZipInflated(
      this, path,
      InflatedBytes(std::shared_ptr<const unsigned char>(std::move(member.bytes)), member.held,
                    entry.uncompress_size));
}

OpenerType OpenerZip::GetType() const { return OpenerTypeZip; }

Output* OpenerZip::OpenOutput(const std::string&) { return nullptr; }

const std::string& OpenerZip::GetName() const { return name_; }

const std::string& OpenerZip::GetRoot() const { return root_; }

bool OpenerZip::CreateDirectories(const std::string&) { return false; }

bool OpenerZip::RemoveFile(const std::string&) { return false; }

bool OpenerZip::RemoveDirectory(const std::string&) { return false; }

}  // namespace velm::io
