#include "zip/member_index.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace velm::io {
namespace {

// Byte order on unsigned values, a prefix first, as string_view compares.
bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

size_t MemberIndex::SlotOf(std::string_view name, size_t hash) const {
  const size_t mask = slots_.size() - 1;
  for (size_t slot = hash & mask;; slot = (slot + 1) & mask) {
    const uint32_t held = slots_[slot];
    if (held == 0 || NameAt(held - 1) == name) return slot;
  }
}

const ZipEntry* MemberIndex::Find(std::string_view name, size_t hash) const {
  if (slots_.empty()) return nullptr;
  const uint32_t held = slots_[SlotOf(name, hash)];
  return held != 0 ? &At(held - 1) : nullptr;
}

uint32_t MemberIndex::Store(std::string_view name) {
  const size_t length = name.size() + 2;
  // pool_used_ at a chunk's start means that chunk is yet to be made.
  auto used = static_cast<uint32_t>(pool_used_ % kPoolChunk);
  if (used != 0 && kPoolChunk - used < length) {
    // The rest of the last chunk stays unused.
    pool_used_ += kPoolChunk - used;
    used = 0;
  }
  if (used == 0) {
    // Owned before the vector may grow, which can throw.
    std::unique_ptr<char[]> chunk(new char[kPoolChunk]);
    pool_.push_back(std::move(chunk));
  }
  const auto at = static_cast<uint32_t>(pool_used_);
  char* to = pool_.back().get() + used;
  to[0] = static_cast<char>(name.size() & 0xff);
  to[1] = static_cast<char>(name.size() >> 8);
  std::memcpy(to + 2, name.data(), name.size());
  pool_used_ += length;
  return at;
}

void MemberIndex::Grow() {
  std::vector<uint32_t> grown(std::max<size_t>(64, 2 * slots_.size()), 0);
  const size_t mask = grown.size() - 1;
  // In the order of numbers, the names are read in the order of the pool.
  for (uint32_t number = 0; number < count_; ++number) {
    size_t slot = Hash(NameAt(number)) & mask;
    while (grown[slot] != 0) slot = (slot + 1) & mask;
    grown[slot] = number + 1;
  }
  slots_.swap(grown);
}

void MemberIndex::Add(std::string_view name, size_t hash, ZipEntry entry) {
  // At most half full: every slot a probe passes costs a name compared,
  // two reads far apart in memory.
  if (2 * (count_ + 1) > slots_.size()) Grow();
  if (count_ == entries_.size() * kEntryChunk) {
    std::unique_ptr<ZipEntry[]> chunk(new ZipEntry[kEntryChunk]);
    entries_.push_back(std::move(chunk));
  }
  const size_t slot = SlotOf(name, hash);
  entry.name_at = Store(name);
  entries_[count_ / kEntryChunk][count_ % kEntryChunk] = entry;
  ++count_;
  slots_[slot] = static_cast<uint32_t>(count_);
}

MemberIndex::Range MemberIndex::WithPrefix(std::string_view prefix) const {
  {
    MutexLock hold(sort_lock_);
    if (!sorted_made_) {
      sorted_.resize(count_);
      for (size_t i = 0; i < count_; ++i) sorted_[i] = static_cast<uint32_t>(i);
      // string_view orders bytes as unsigned values.
      std::sort(sorted_.begin(), sorted_.end(),
                [this](uint32_t a, uint32_t b) { return NameAt(a) < NameAt(b); });
      sorted_made_ = true;
    }
  }
  auto first = std::lower_bound(
      sorted_.begin(), sorted_.end(), prefix,
      [this](uint32_t number, std::string_view key) { return NameAt(number) < key; });
  auto last = std::partition_point(first, sorted_.end(), [this, prefix](uint32_t number) {
    return StartsWith(NameAt(number), prefix);
  });
  return {first, last};
}

}  // namespace velm::io
