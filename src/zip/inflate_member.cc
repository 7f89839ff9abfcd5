#include <zlib.h>

#include <algorithm>
#include <cstdlib>
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

struct FreeDeleter {
  void operator()(unsigned char* bytes) const { std::free(bytes); }
};

// Zero-filled by the allocator, whose fresh pages cost no resident memory
// until written; a zero size still gives a real allocation.
std::unique_ptr<unsigned char, FreeDeleter> AllocateZeroed(uint32_t size) {
  void* bytes = std::calloc(size == 0 ? 1 : size, 1);
  if (!bytes) throw std::bad_alloc();
  return std::unique_ptr<unsigned char, FreeDeleter>(
      static_cast<unsigned char*>(bytes));
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
  std::unique_ptr<unsigned char, FreeDeleter> output =
      AllocateZeroed(entry.uncompress_size);
  std::unique_ptr<unsigned char[]> input(
      new unsigned char[std::min(entry.compress_size, kInflateChunk)]);

  InflateStream zip_stream;
  zip_stream.state.next_out = output.get();
  zip_stream.state.avail_out = entry.uncompress_size;
  // An init that fails for another reason than memory leaves the member as
  // zeros of its declared size.
  if (entry.uncompress_size > 0 && zip_stream.Init()) {
    // The shared position moves; nothing reads it between opens. Where it
    // cannot be set there is no input, rather than bytes from elsewhere.
    uint32_t left = archive->Seek(static_cast<int64_t>(entry.offset), 0) == -1
                        ? 0
                        : entry.compress_size;
    int result = Z_OK;
    while (left > 0 && zip_stream.state.avail_out > 0) {
      const int64_t got =
          archive->Read(input.get(), std::min(left, kInflateChunk));
      // Only bytes that really came in are inflated; the end of a truncated
      // archive just stops the input.
      if (got <= 0) break;
      left -= static_cast<uint32_t>(got);
      zip_stream.state.next_in = input.get();
      zip_stream.state.avail_in = static_cast<uInt>(got);
      result = inflate(&zip_stream.state, Z_NO_FLUSH);
      if (result != Z_OK) break;
    }
    const bool complete =
        zip_stream.state.total_out == entry.uncompress_size;
    const bool ended = zip_stream.End();
    // Running out of input or of room is no failure: the rest stays zero.
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
  }
  stream->data = std::shared_ptr<const unsigned char>(std::move(output));
  return stream.release();
}

}  // namespace velm::io
