#ifndef VELMIO_ZIP_MEMBER_INDEX_H_
#define VELMIO_ZIP_MEMBER_INDEX_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "core/mutex.h"
#include "zip/zip_entry.h"

namespace velm::io {

// The entries of an archive by name, compact enough for archives of a
// million tiny records: every name once, behind its 16-bit length, in a pool
// of fixed chunks; entries in fixed chunks too, so that growing never copies
// them; a table of open addressing that holds entry numbers for lookups, and
// the numbers in byte order of names for listings, made at the first
// listing. Adds end before the first lookup from a second thread.
class MemberIndex {
 public:
  // Pool bytes, names and their lengths, are counted in 32 bits.
  static constexpr uint64_t kPoolLimit = uint64_t{1} << 32;

  MemberIndex() = default;
  MemberIndex(const MemberIndex&) = delete;
  MemberIndex& operator=(const MemberIndex&) = delete;

  size_t size() const { return count_; }
  uint64_t pool_bytes() const { return pool_used_; }

  // The hash that Find and Add take, so that a name looked up and then
  // added is hashed once.
  static size_t Hash(std::string_view name) { return std::hash<std::string_view>()(name); }
  // The entry of name, or null.
  const ZipEntry* Find(std::string_view name) const { return Find(name, Hash(name)); }
  const ZipEntry* Find(std::string_view name, size_t hash) const;
  // Adds name with entry, whose name_at it sets. The name must be new, hold
  // at most 65,535 bytes, and fit the pool below kPoolLimit.
  void Add(std::string_view name, size_t hash, ZipEntry entry);

  using Range =
      std::pair<std::vector<uint32_t>::const_iterator, std::vector<uint32_t>::const_iterator>;
  // The entries whose names begin with prefix, in byte order: numbers for
  // NameAt. The first call orders them; no Add after it.
  Range WithPrefix(std::string_view prefix) const;
  std::string_view NameAt(uint32_t number) const {
    const uint32_t at = At(number).name_at;
    const auto* length =
        reinterpret_cast<const unsigned char*>(pool_[at / kPoolChunk].get()) + at % kPoolChunk;
    return {reinterpret_cast<const char*>(length) + 2, length[0] + (size_t{length[1]} << 8)};
  }

 private:
  // A name of at most 65,535 bytes and its length fit one chunk.
  static constexpr uint32_t kPoolChunk = 64 * 1024 + 64;
  static constexpr uint32_t kEntryChunk = 1024;

  const ZipEntry& At(uint32_t number) const {
    return entries_[number / kEntryChunk][number % kEntryChunk];
  }

  // The slot that holds name's number, or the empty one where it would go.
  size_t SlotOf(std::string_view name, size_t hash) const;
  uint32_t Store(std::string_view name);
  void Grow();

  std::vector<std::unique_ptr<char[]>> pool_;
  uint64_t pool_used_ = 0;  // bytes, counting the ends of chunks left unused
  std::vector<std::unique_ptr<ZipEntry[]>> entries_;
  size_t count_ = 0;
  std::vector<uint32_t> slots_;  // entry number + 1; 0 for an empty slot
  // Opens never list, so the order is made only for the first listing. Made
  // under the lock and never changed after, it is read without it. (No
  // std::call_once: MinGW's hangs for good after a callable that threw.)
  mutable Mutex sort_lock_;
  mutable bool sorted_made_ VELM_GUARDED_BY(sort_lock_) = false;
  mutable std::vector<uint32_t> sorted_;
};

}  // namespace velm::io

#endif  // VELMIO_ZIP_MEMBER_INDEX_H_
