#ifndef VELMIO_ZIP_INFLATE_MEMBER_H_
#define VELMIO_ZIP_INFLATE_MEMBER_H_

#include <cstdint>

#include <velm/io/stream>

#include "zip/heap_bytes.h"

namespace velm::io {

// How inflating a member ended: kDone, or the failure that its open reports.
enum class InflateResult { kDone, kDataError, kInflateError, kEndError };

struct InflatedMember {
  InflateResult result = InflateResult::kDone;
  // The bytes produced, held of them; the member reads on as zeros behind
  // them up to its size. Set when result is kDone.
  Bytes bytes;
  uint64_t held = 0;
};

// The raw deflate stream in compressed[0, count) inflated into a member of
// size bytes. fast tries the whole-buffer inflater first where the build has
// one; its result is kept only when it is clean and fills size exactly, and
// anything else is redone by zlib, so that every stream a compressor writes
// ends as zlib ends it. libdeflate decodes a few codes that deflate leaves
// undefined and zlib refuses (length symbols 286 and 287, distance symbols 30
// and 31, among others): a stream made to use them opens where zlib would
// refuse it.
InflatedMember InflateMember(const unsigned char* compressed, uint64_t count, uint64_t size,
                             bool fast = true);

// Whether the build has the whole-buffer inflater.
bool HaveWholeBufferInflater();

// Inflates all of compressed[0, count) into out, which takes size bytes;
// true only if the stream ended cleanly having given exactly size bytes.
// Always false without the whole-buffer inflater.
bool InflateWholeBuffer(const unsigned char* compressed, uint64_t count, unsigned char* out,
                        uint64_t size);

// Inflates the stream at the start of compressed[0, count), which may go on
// behind it, into out of room bytes, setting the bytes it took and gave: 1
// when it ended cleanly, 0 when room was too small, -1 otherwise, and always
// without the whole-buffer inflater.
int InflateStreamStart(const unsigned char* compressed, uint64_t count, unsigned char* out,
                       uint64_t room, uint64_t& taken, uint64_t& given);

// The CRC-32 of bytes[0, count) going on from crc, that of the bytes before
// (0 for none): libdeflate's where the build has it, which is several times
// faster, else zlib's.
uint32_t Crc32(uint32_t crc, const unsigned char* bytes, uint64_t count);

// What inflating a raw deflate stream to its end gives: the compressed bytes
// it took, the bytes it gave and their CRC-32.
struct StreamMeasure {
  uint64_t taken = 0;
  uint64_t given = 0;
  uint32_t crc = 0;
};

// Room for finding where streamed records end, kept from one record of a
// walk to the next: a block made for each record cost a fresh allocation
// and, for a stream that outgrew it, the work done into each smaller one.
class MeasureBlock {
 public:
  uint64_t room() const { return room_; }
  // At least room bytes, whose contents are not kept.
  unsigned char* Room(uint64_t room);

 private:
  Bytes bytes_;
  uint64_t room_ = 0;
};

// Inflates the deflate stream that input holds from its position, keeping
// none of the output. False where the stream is damaged or the input ends
// or fails first. Leaves input somewhere behind the bytes the stream took.
bool MeasureDeflateStream(Input* input, StreamMeasure& measure, MeasureBlock& block);

}  // namespace velm::io

#endif  // VELMIO_ZIP_INFLATE_MEMBER_H_
