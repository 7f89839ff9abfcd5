#include "zip/inflate_member.h"

#include <zlib.h>

#include <algorithm>
#include <memory>
#include <new>

#include "platform/platform.h"

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

// zlib over all the compressed bytes at once into room bytes of out.
InflateResult InflateWithZlib(const unsigned char* compressed, uint64_t count, uint64_t size,
                              unsigned char* out, uint64_t room, uint64_t& held) {
  InflateStream zip_stream;
  // An init that fails for another reason than memory leaves the member as
  // zeros of its declared size.
  if (!zip_stream.Init()) return InflateResult::kDone;
  z_stream& state = zip_stream.state;
  // Both counts fit: they come from 32-bit fields of the record.
  state.next_in = const_cast<unsigned char*>(compressed);
  state.avail_in = static_cast<uInt>(count);
  state.next_out = out;
  state.avail_out = static_cast<uInt>(room);
  int result;
  // Once the input is gone, a last call gives what zlib still holds and then
  // Z_BUF_ERROR. Full output is the member's size, or all the input can give.
  do {
    result = inflate(&state, Z_NO_FLUSH);
  } while (result == Z_OK && state.avail_out > 0);
  const bool complete = state.total_out == size;
  const bool ended = zip_stream.End();
  // Running out of input or of room is no failure: the rest reads as zeros.
  if (result == Z_DATA_ERROR && !complete) return InflateResult::kDataError;
  if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR && result != Z_DATA_ERROR) {
    return InflateResult::kInflateError;
  }
  if (!ended) return InflateResult::kEndError;
  held = state.total_out;
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

}  // namespace velm::io
