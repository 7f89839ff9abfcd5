#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include <velm/log/log>

#include "zip/input_zip.h"
#include "zip/opener_zip.h"

namespace velm::io {

namespace {

// Compressed bytes are read and inflated in pieces of this size, so a record
// that claims a huge compressed size costs no more than what the archive
// really holds.
constexpr uint32_t kInflateChunk = 256 * 1024;

// Deflate gives at most 1032 bytes per compressed byte: a copy of 258 bytes
// coded in two bits. A deflated member's bytes are allocated for what the
// bytes read can give, with a margin, never for a declared size alone.
constexpr uint64_t kMaxInflateRatio = 1032;
constexpr uint64_t kInflateSlack = 4096;

struct FreeDeleter {
  void operator()(unsigned char* bytes) const { std::free(bytes); }
};
using Bytes = std::unique_ptr<unsigned char, FreeDeleter>;

// bytes grown to size, keeping what they hold; size 0 still allocates.
void Resize(Bytes& bytes, uint64_t size) {
  void* moved =
      std::realloc(bytes.get(), size == 0 ? 1 : static_cast<size_t>(size));
  if (!moved) throw std::bad_alloc();
  bytes.release();
  bytes.reset(static_cast<unsigned char*>(moved));
}

// The first size bytes of from in an allocation of their own.
Bytes CopyOf(const unsigned char* from, uint64_t size) {
  Bytes bytes;
  Resize(bytes, size);
  if (size > 0) std::memcpy(bytes.get(), from, size);
  return bytes;
}

// zlib's state comes from operator new like every other allocation of the
// library, so that a host that replaces it sees and can limit these too.
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

}  // namespace

Input* OpenerZip::OpenDeflated(const std::string& path, const ZipEntry& entry) {
  auto stream = std::make_unique<InputZip>(path, this, entry.uncompress_size);
  const uint64_t size = entry.uncompress_size;
  Bytes output;
  uint64_t capacity = 0;
  InflateStream zip_stream;
  z_stream& state = zip_stream.state;
  // An init that fails for another reason than memory leaves the member as
  // zeros of its declared size.
  if (size > 0 && zip_stream.Init()) {
    std::unique_ptr<unsigned char[]> input(
        new unsigned char[std::min(entry.compress_size, kInflateChunk)]);
    // The shared position moves; nothing reads it between opens. Where it
    // cannot be set there is no input, rather than bytes from elsewhere.
    uint32_t left = archive->Seek(static_cast<int64_t>(entry.offset), 0) == -1
                        ? 0
                        : entry.compress_size;
    uint64_t read = 0;
    int result = Z_OK;
    for (;;) {
      if (state.avail_in == 0 && left > 0) {
        const int64_t got =
            archive->Read(input.get(), std::min(left, kInflateChunk));
        // Only bytes that really came in are inflated; the end of a
        // truncated archive just stops the input.
        if (got <= 0) {
          left = 0;
        } else {
          left -= static_cast<uint32_t>(got);
          read += static_cast<uint64_t>(got);
          state.next_in = input.get();
          state.avail_in = static_cast<uInt>(got);
        }
      }
      if (state.avail_out == 0) {
        const uint64_t room =
            read == 0 ? 0
                      : std::min(size, read * kMaxInflateRatio + kInflateSlack);
        // Full: the member's size is reached, or all the bytes read can give.
        if (room <= capacity) break;
        Resize(output, room);
        capacity = room;
        state.next_out = output.get() + state.total_out;
        state.avail_out = static_cast<uInt>(room - state.total_out);
      }
      // Once the input is gone, a last call gives what zlib still holds and
      // then Z_BUF_ERROR.
      result = inflate(&state, Z_NO_FLUSH);
      if (result != Z_OK) break;
    }
    const bool complete = state.total_out == size;
    const bool ended = zip_stream.End();
    // Running out of input or of room is no failure: the rest reads as zeros.
    if (result == Z_DATA_ERROR && !complete) {
      velm::log::LogError(LogChannel, "Z_DATA_ERROR Failed to inflate file %s",
                          path.c_str());
      return nullptr;
    }
    if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR &&
        result != Z_DATA_ERROR) {
      velm::log::LogError(LogChannel, "Failed to inflate file %s", path.c_str());
      return nullptr;
    }
    if (!ended) {
      velm::log::LogError(LogChannel, "Failed to inflateEnd file %s",
                          path.c_str());
      return nullptr;
    }
    stream->held = state.total_out;
  }
  // A member that stopped short keeps only what it produced.
  if (!output || stream->held < capacity) {
    output = CopyOf(output.get(), stream->held);
  }
  stream->data = std::shared_ptr<const unsigned char>(std::move(output));
  return stream.release();
}

}  // namespace velm::io
