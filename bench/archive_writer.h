#ifndef VELMIO_BENCH_ARCHIVE_WRITER_H_
#define VELMIO_BENCH_ARCHIVE_WRITER_H_

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

namespace velm::bench {

// Builds a zip archive in memory, member by member: local headers with the
// real sizes and CRC-32, then a central directory and an end record, so that
// every zip reader accepts it, not only this library's header walk.
class ZipWriter {
 public:
  // Adds a member; deflated (raw, level 6) or stored.
  void Add(const std::string& name, const std::string& content, bool deflate);

  // Appends the central directory and the end record and hands out the
  // archive. The writer is empty afterwards.
  std::string Finish();

  // Bytes written so far for entry data, compressed as stored.
  uint64_t data_bytes() const { return data_bytes_; }

 private:
  std::string records_;
  std::string directory_;
  uint16_t count_ = 0;
  uint64_t data_bytes_ = 0;
};

// size bytes of lines of phrases from a fixed vocabulary drawn with a skewed
// frequency: deflate shrinks megabytes of it about 5:1, a few kilobytes
// about 2:1.
std::string TextLike(std::mt19937& random, size_t size);

// CRC-32 of bytes, as zlib computes it for zip members.
uint32_t Crc32(const std::string& bytes);

}  // namespace velm::bench

#endif  // VELMIO_BENCH_ARCHIVE_WRITER_H_
