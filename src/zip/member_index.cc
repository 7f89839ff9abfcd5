#include "zip/member_index.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

namespace velm::io {
namespace {

// Byte order on unsigned values, a prefix first, as string_view compares.
bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

size_t MemberIndex::SlotOf(std::string_view name) const {
  const size_t mask = slots_.size() - 1;
  for (size_t slot = std::hash<std::string_view>()(name) & mask;; slot = (slot + 1) & mask) {
    const uint32_t held = slots_[slot];
    if (held == 0 || NameAt(held - 1) == name) return slot;
  }
}

const ZipEntry* MemberIndex::Find(std::string_view name) const {
  if (slots_.empty()) return nullptr;
  const uint32_t held = slots_[SlotOf(name)];
  return held != 0 ? &At(held - 1) : nullptr;
}

uint32_t MemberIndex::Store(std::string_view name) {
  const size_t length = name.size() + 1;
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
  std::memcpy(to, name.data(), name.size());
  to[name.size()] = '\0';
  pool_used_ += length;
  return at;
}

void MemberIndex::Grow() {
  std::vector<uint32_t> old(std::max<size_t>(64, 2 * slots_.size()), 0);
  old.swap(slots_);
  const size_t mask = slots_.size() - 1;
  for (uint32_t held : old) {
    if (held == 0) continue;
    size_t slot = std::hash<std::string_view>()(NameAt(held - 1)) & mask;
    while (slots_[slot] != 0) slot = (slot + 1) & mask;
    slots_[slot] = held;
  }
}

void MemberIndex::Add(std::string_view name, ZipEntry entry) {
  // At most three quarters full, so that a probe ends soon.
  if (4 * (count_ + 1) > 3 * slots_.size()) Grow();
  if (count_ == entries_.size() * kEntryChunk) {
    std::unique_ptr<ZipEntry[]> chunk(new ZipEntry[kEntryChunk]);
    entries_.push_back(std::move(chunk));
  }
  const size_t slot = SlotOf(name);
  entry.name_at = Store(name);
  entries_[count_ / kEntryChunk][count_ % kEntryChunk] = entry;
  ++count_;
  slots_[slot] = static_cast<uint32_t>(count_);
}

void MemberIndex::Sort() {
  sorted_.resize(count_);
  for (size_t i = 0; i < count_; ++i) sorted_[i] = static_cast<uint32_t>(i);
  std::sort(sorted_.begin(), sorted_.end(),
            [this](uint32_t a, uint32_t b) { return std::strcmp(NameAt(a), NameAt(b)) < 0; });
}

// strcmp orders bytes as unsigned values, as string_view does; names hold
// no NUL.
MemberIndex::Range MemberIndex::WithPrefix(std::string_view prefix) const {
  auto first = std::lower_bound(sorted_.begin(), sorted_.end(), prefix,
                                [this](uint32_t number, std::string_view key) {
                                  return std::string_view(NameAt(number)) < key;
                                });
  auto last = std::partition_point(first, sorted_.end(), [this, prefix](uint32_t number) {
    return StartsWith(NameAt(number), prefix);
  });
  return {first, last};
}

}  // namespace velm::io
