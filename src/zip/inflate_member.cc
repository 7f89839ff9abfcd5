#include "zip/inflate_member.h"

#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>

#include "core/viewed_input.h"
#include "platform/platform.h"
#include "zip/heap_bytes.h"

namespace velm::io {

namespace {

// Deflate gives at most 1032 bytes per compressed byte: a copy of 258 bytes
// coded in two bits. A deflated member's bytes are allocated for what its
// compressed bytes can give, with a margin, never for a declared size alone.
constexpr uint64_t kMaxInflateRatio = 1032;
constexpr uint64_t kInflateSlack = 4096;

// Outputs above this size are written with huge pages where the system has
// them. The C library maps blocks this large on their own, so the hint
// reaches no other allocation.
constexpr uint64_t kLargeOutput = uint64_t{32} << 20;

// zlib's state comes from the non-throwing operator new, so that its failure
// is told apart from a refusal and leaves as std::bad_alloc.
voidpf ZlibAlloc(voidpf, uInt items, uInt size) {
  return ::operator new(static_cast<size_t>(items) * size, std::nothrow);
}

void ZlibFree(voidpf, voidpf address) { ::operator delete(address); }

// Raw inflate state that is released on every way out.
struct InflateStream {
  z_stream state = {};
  bool live = false;

  InflateStream() = default;
  InflateStream(const InflateStream&) = delete;
  InflateStream& operator=(const InflateStream&) = delete;
  ~InflateStream() { End(); }

  // False when zlib refuses for another reason than memory.
  bool Init() {
    state.zalloc = ZlibAlloc;
    state.zfree = ZlibFree;
    const int result = inflateInit2(&state, -MAX_WBITS);
    if (result == Z_MEM_ERROR) throw std::bad_alloc();
    live = result == Z_OK;
    return live;
  }
  bool End() {
    if (!live) return true;
    live = false;
    return inflateEnd(&state) == Z_OK;
  }
};

uInt Piece(std::ptrdiff_t left) {
  return static_cast<uInt>(std::min<std::ptrdiff_t>(left, std::numeric_limits<uInt>::max()));
}

// zlib over all the compressed bytes at once into room bytes of out.
InflateResult InflateWithZlib(const unsigned char* compressed, uint64_t count, uint64_t size,
                              unsigned char* out, uint64_t room, uint64_t& held) {
  InflateStream zip_stream;
  // An init that fails for another reason than memory leaves the member as
  // zeros of its declared size.
  if (!zip_stream.Init()) return InflateResult::kDone;
  z_stream& state = zip_stream.state;
  // zlib counts in 32 bits: members past 4 GiB go in and come out in pieces.
  const unsigned char* in_end = compressed + count;
  unsigned char* const out_end = out + room;
  state.next_in = const_cast<unsigned char*>(compressed);
  state.next_out = out;
  int result;
  // Once the input is gone, a last call gives what zlib still holds and then
  // Z_BUF_ERROR. Full output is the member's size, or all the input can give.
  do {
    state.avail_in = Piece(in_end - state.next_in);
    state.avail_out = Piece(out_end - state.next_out);
    result = inflate(&state, Z_NO_FLUSH);
  } while (result == Z_OK && state.next_out < out_end);
  held = static_cast<uint64_t>(state.next_out - out);
  const bool ended = zip_stream.End();
  // Running out of input or of room is no failure: the rest reads as zeros.
  if (result == Z_DATA_ERROR && held != size) return InflateResult::kDataError;
  if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR && result != Z_DATA_ERROR) {
    return InflateResult::kInflateError;
  }
  if (!ended) return InflateResult::kEndError;
  return InflateResult::kDone;
}

}  // namespace

InflatedMember InflateMember(const unsigned char* compressed, uint64_t count, uint64_t size,
                             bool fast) {
  InflatedMember member;
  const uint64_t room =
      count == 0 || size == 0 ? 0 : std::min(size, count * kMaxInflateRatio + kInflateSlack);
  Resize(member.bytes, room);
  if (room == 0) return member;
  if (room > kLargeOutput) {
    platform::calls.AdviseLargePages(member.bytes.get(), static_cast<size_t>(room));
  }
  // The whole-buffer inflater needs room for the declared size, which the
  // bound above allows only where the compressed bytes could give it.
  if (fast && room == size && InflateWholeBuffer(compressed, count, member.bytes.get(), size)) {
    member.held = size;
    return member;
  }
  member.result = InflateWithZlib(compressed, count, size, member.bytes.get(), room, member.held);
  // A member that stopped short keeps only what it produced.
  if (member.result == InflateResult::kDone && member.held < room) {
    Resize(member.bytes, member.held);
  }
  return member;
}

namespace {

// Streams that give more than this are measured by zlib in pieces, for the
// memory a whole output would take.
constexpr uint64_t kLargestMeasuredInView = uint64_t{64} << 20;

// Where the stream lies in a mapped view, the whole-buffer inflater measures
// it at once, into a block that doubles while it is too small: several
// times faster than zlib, which is left what this one refuses, so that
// every stream a compressor writes ends as zlib ends it.
bool MeasureInView(Input* input, StreamMeasure& measure, MeasureBlock& block) {
  const auto* viewed = dynamic_cast<const ViewedInput*>(input);
  if (viewed == nullptr || !HaveWholeBufferInflater()) return false;
  const int64_t at = input->Tell(), size = input->GetSize();
  const char* view = viewed->GetView();
  if (view == nullptr || at < 0 || at >= size) return false;
  const auto* compressed = reinterpret_cast<const unsigned char*>(view) + at;
  for (uint64_t room = std::max<uint64_t>(block.room(), 64 * 1024); room <= kLargestMeasuredInView;
       room *= 2) {
    unsigned char* const out = block.Room(room);
    uint64_t taken = 0, given = 0;
    const int result =
        InflateStreamStart(compressed, static_cast<uint64_t>(size - at), out, room, taken, given);
    if (result < 0) return false;
    if (result == 0) continue;
    measure.taken = taken;
    measure.given = given;
    measure.crc = Crc32(0, out, given);
    return true;
  }
  return false;
}

}  // namespace

unsigned char* MeasureBlock::Room(uint64_t room) {
  if (room_ < room) {
    // A fresh block: growing the last one would copy what is thrown away.
    bytes_.reset();
    room_ = 0;
    Resize(bytes_, room);
    room_ = room;
  }
  return bytes_.get();
}

bool InflateWholeBuffer(const unsigned char* compressed, uint64_t count, unsigned char* out,
                        uint64_t size) {
  uint64_t taken = 0, given = 0;
  return InflateStreamStart(compressed, count, out, size, taken, given) == 1 && given == size;
}

bool MeasureDeflateStream(Input* input, StreamMeasure& measure, MeasureBlock& block) {
  measure = StreamMeasure();
  if (MeasureInView(input, measure, block)) return true;
  constexpr size_t kPiece = 64 * 1024;
  InflateStream zip_stream;
  if (!zip_stream.Init()) return false;
  z_stream& state = zip_stream.state;
  // Input and output share one block; the output is summed and dropped.
  unsigned char* const in = block.Room(2 * kPiece);
  unsigned char* const out = in + kPiece;
  // Reads start small and grow: most streams are short, and what is read
  // beyond one is read again by the walk.
  size_t want = 4096;
  for (int result = Z_OK; result != Z_STREAM_END;) {
    if (state.avail_in == 0) {
      const int64_t got = input->Read(in, want);
      want = std::min(2 * want, kPiece);
      if (got <= 0) return false;
      state.next_in = in;
      state.avail_in = static_cast<uInt>(got);
    }
    const uInt offered = state.avail_in;
    state.next_out = out;
    state.avail_out = kPiece;
    result = inflate(&state, Z_NO_FLUSH);
    if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) return false;
    const size_t given = kPiece - state.avail_out;
    measure.taken += offered - state.avail_in;
    measure.given += given;
    measure.crc = Crc32(measure.crc, out, given);
  }
  return zip_stream.End();
}

}  // namespace velm::io
