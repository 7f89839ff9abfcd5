#include "zip/streamed_record.h"

#include <cstdint>
#include <cstring>

#include "zip/inflate_member.h"
#include "zip/zip_format.h"

namespace velm::io {
namespace {

constexpr size_t kLongestDescriptor = zip::kLongestDataDescriptor;
constexpr size_t kPiece = 64 * 1024;

// The descriptor at p, of available bytes, behind data of compressed and
// uncompressed bytes with CRC-32 crc: its length, 0 for none, and the CRC-32
// it records. One with the signature counts on that alone where
// signature_suffices; otherwise its values must be the data's.
size_t DescriptorAt(const unsigned char* p, size_t available, bool zip64, uint32_t crc,
                    uint64_t compressed, uint64_t uncompressed, bool signature_suffices,
                    uint32_t& recorded) {
  const int width = zip64 ? 8 : 4;
  const size_t body = 4 + 2 * static_cast<size_t>(width);
  for (size_t signature : {size_t{4}, size_t{0}}) {
    if (available < signature + body) continue;
    if (signature != 0 && zip::Little32(p) != zip::kDataDescriptor) continue;
    const unsigned char* q = p + signature;
    if ((signature != 0 && signature_suffices) ||
        (zip::Little32(q) == crc && zip::Get(q + 4, width) == compressed &&
         zip::Get(q + 4 + width, width) == uncompressed)) {
      recorded = zip::Little32(q);
      return signature + body;
    }
  }
  return 0;
}

// input goes to end, the end of data whose sizes and CRC-32 entry holds, and
// over a descriptor there, whose CRC-32 is then the member's.
bool StepOverDescriptor(Input* input, uint64_t end, bool zip64, ZipEntry& entry) {
  unsigned char bytes[kLongestDescriptor];
  if (input->Seek(static_cast<int64_t>(end), 0) == -1) return false;
  const int64_t got = input->Read(bytes, sizeof bytes);
  uint32_t recorded = 0;
  const size_t length =
      DescriptorAt(bytes, got > 0 ? static_cast<size_t>(got) : 0, zip64, entry.crc32,
                   entry.compress_size, entry.uncompress_size, true, recorded);
  if (length != 0) entry.crc32 = recorded;
  return input->Seek(static_cast<int64_t>(end + length), 0) != -1;
}

// Reads on through a stored record's data for the first descriptor that
// counts and sums the bytes before it. Only positions whose size fields hold
// their own distance from the start cost a CRC-32.
bool FindStoredEnd(Input* input, bool zip64, ZipEntry& entry, MeasureBlock& block) {
  const int width = zip64 ? 8 : 4;
  const size_t capacity = kPiece + kLongestDescriptor;
  unsigned char* const window = block.Room(capacity);
  size_t held = 0;
  uint64_t base = 0;        // distance of window[0] from the data's start
  uint32_t crc_before = 0;  // of the data before window[0]
  for (bool ended = false;;) {
    while (!ended && held < capacity) {
      const int64_t got = input->Read(window + held, capacity - held);
      if (got < 0) return false;
      ended = got == 0;
      held += static_cast<size_t>(got);
    }
    const size_t scan_end = ended ? held : kPiece;
    for (size_t i = 0; i < scan_end; ++i) {
      const uint64_t count = base + i;
      // Only where a descriptor's size fields, with or without the signature
      // in front, hold this count is the CRC-32 worth its cost.
      const auto counts = [&](size_t signature) {
        const unsigned char* q = window + i + signature;
        // The low byte first: it rules out all but one position in 256.
        return held - i >= signature + 4 + 2 * static_cast<size_t>(width) &&
               q[4] == static_cast<unsigned char>(count) && zip::Get(q + 4, width) == count &&
               zip::Get(q + 4 + width, width) == count;
      };
      if (!counts(4) && !counts(0)) continue;
      uint32_t recorded = 0;
      const size_t length = DescriptorAt(window + i, held - i, zip64, Crc32(crc_before, window, i),
                                         count, count, false, recorded);
      if (length == 0) continue;
      entry.compress_size = entry.uncompress_size = count;
      entry.crc32 = recorded;
      return input->Seek(static_cast<int64_t>(entry.offset + count + length), 0) != -1;
    }
    if (ended) return false;
    crc_before = Crc32(crc_before, window, kPiece);
    base += kPiece;
    std::memmove(window, window + kPiece, held - kPiece);
    held -= kPiece;
  }
}

}  // namespace

bool FindStreamedEnd(Input* input, bool zip64, ZipEntry& entry, MeasureBlock& block) {
  if (entry.compress_size != 0) {
    return StepOverDescriptor(input, entry.offset + entry.compress_size, zip64, entry);
  }
  switch (entry.compress_method) {
    case zip::kMethodDeflated: {
      StreamMeasure measure;
      if (!MeasureDeflateStream(input, measure, block)) return false;
      entry.compress_size = measure.taken;
      entry.uncompress_size = measure.given;
      entry.crc32 = measure.crc;
      return StepOverDescriptor(input, entry.offset + measure.taken, zip64, entry);
    }
    case zip::kMethodStored:
      return FindStoredEnd(input, zip64, entry, block);
    default:  // nothing else marks its own end
      return false;
  }
}

}  // namespace velm::io
