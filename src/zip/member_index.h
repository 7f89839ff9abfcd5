#ifndef VELMIO_ZIP_MEMBER_INDEX_H_
#define VELMIO_ZIP_MEMBER_INDEX_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "zip/zip_entry.h"

namespace velm::io {

// The entries of an archive by name, compact enough for archives of a
// million tiny records: every name once, NUL-terminated, in a pool of fixed
// chunks; entries in fixed chunks too, so that growing never copies them; a
// table of open addressing that holds entry numbers for lookups, and the
// numbers in byte order of names for listings. Read-only once sorted.
class MemberIndex {
 public:
  // Pool bytes, names and their NULs, are counted in 32 bits.
  static constexpr uint64_t kPoolLimit = uint64_t{1} << 32;

  MemberIndex() = default;
  MemberIndex(const MemberIndex&) = delete;
  MemberIndex& operator=(const MemberIndex&) = delete;

  size_t size() const { return count_; }
  uint64_t pool_bytes() const { return pool_used_; }

  // The entry of name, or null.
  const ZipEntry* Find(std::string_view name) const;
  // Adds name with entry, whose name_at it sets. The name must be new, hold
  // no NUL, and fit the pool below kPoolLimit.
  void Add(std::string_view name, ZipEntry entry);
  // Orders the entries by name for WithPrefix; no Add after it.
  void Sort();

  using Range =
      std::pair<std::vector<uint32_t>::const_iterator, std::vector<uint32_t>::const_iterator>;
  // The entries whose names begin with prefix, in byte order: numbers for
  // NameAt.
  Range WithPrefix(std::string_view prefix) const;
  const char* NameAt(uint32_t number) const {
    const uint32_t at = At(number).name_at;
    return pool_[at / kPoolChunk].get() + at % kPoolChunk;
  }

 private:
  // A name holds at most 65,535 bytes, so with its NUL it fits one chunk.
  static constexpr uint32_t kPoolChunk = 64 * 1024;
  static constexpr uint32_t kEntryChunk = 1024;

  const ZipEntry& At(uint32_t number) const {
    return entries_[number / kEntryChunk][number % kEntryChunk];
  }

  // The slot that holds name's number, or the empty one where it would go.
  size_t SlotOf(std::string_view name) const;
  uint32_t Store(std::string_view name);
  void Grow();

  std::vector<std::unique_ptr<char[]>> pool_;
  uint64_t pool_used_ = 0;  // bytes, counting the ends of chunks left unused
  std::vector<std::unique_ptr<ZipEntry[]>> entries_;
  size_t count_ = 0;
  std::vector<uint32_t> slots_;  // entry number + 1; 0 for an empty slot
  std::vector<uint32_t> sorted_;
};

}  // namespace velm::io

#endif  // VELMIO_ZIP_MEMBER_INDEX_H_
