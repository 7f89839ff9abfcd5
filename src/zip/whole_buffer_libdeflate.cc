#include <libdeflate.h>

#include <atomic>
#include <memory>

#include "zip/inflate_member.h"

namespace velm::io {

namespace {

// Decompressors left by finished inflates, for the next ones: allocating one
// for each member costs about a tenth of inflating a small one. The slots
// are taken and given back without a lock, so opens on several threads
// share them; a decompressor that finds no free slot is freed.
class SpareDecompressors {
 public:
  SpareDecompressors() = default;
  SpareDecompressors(const SpareDecompressors&) = delete;
  SpareDecompressors& operator=(const SpareDecompressors&) = delete;
  ~SpareDecompressors() {
    for (auto& slot : slots_) {
      if (libdeflate_decompressor* spare = slot.exchange(nullptr))
        libdeflate_free_decompressor(spare);
    }
  }

  // A decompressor of the caller's; null only without memory for one.
  libdeflate_decompressor* Take() {
    for (auto& slot : slots_) {
      if (libdeflate_decompressor* spare = slot.exchange(nullptr)) return spare;
    }
    return libdeflate_alloc_decompressor();
  }

  void Give(libdeflate_decompressor* decompressor) {
    for (auto& slot : slots_) {
      libdeflate_decompressor* empty = nullptr;
      if (slot.compare_exchange_strong(empty, decompressor)) return;
    }
    libdeflate_free_decompressor(decompressor);
  }

 private:
  std::atomic<libdeflate_decompressor*> slots_[8] = {};
};

SpareDecompressors spares;

struct GiveBack {
  void operator()(libdeflate_decompressor* decompressor) const { spares.Give(decompressor); }
};

}  // namespace

bool HaveWholeBufferInflater() { return true; }

int InflateStreamStart(const unsigned char* compressed, uint64_t count, unsigned char* out,
                       uint64_t room, uint64_t& taken, uint64_t& given) {
  // Without memory for it, zlib does the work and tells of the lack its way.
  std::unique_ptr<libdeflate_decompressor, GiveBack> decompressor(spares.Take());
  if (!decompressor) return -1;
  size_t in = 0, made = 0;
  const libdeflate_result result =
      libdeflate_deflate_decompress_ex(decompressor.get(), compressed, static_cast<size_t>(count),
                                       out, static_cast<size_t>(room), &in, &made);
  if (result == LIBDEFLATE_INSUFFICIENT_SPACE) return 0;
  if (result != LIBDEFLATE_SUCCESS) return -1;
  taken = in;
  given = made;
  return 1;
}

uint32_t Crc32(uint32_t crc, const unsigned char* bytes, uint64_t count) {
  return libdeflate_crc32(crc, bytes, static_cast<size_t>(count));
}

}  // namespace velm::io
