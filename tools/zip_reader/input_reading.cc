#include "input_reading.h"

#include <vector>

#include <zlib.h>

namespace tool {

int64_t ReadChunks(velm::io::Input& input,
                   const std::function<bool(const char* data, size_t size)>& sink) {
  std::vector<char> buffer(1 << 16);
  int64_t total = 0;
  for (;;) {
    int64_t count = input.Read(buffer.data(), buffer.size());
    if (count < 0) return -1;
    if (count == 0) return total;
    if (!sink(buffer.data(), static_cast<size_t>(count))) return -1;
    total += count;
  }
}

int64_t ReadChunksSummed(velm::io::Input& input,
                         const std::function<bool(const char* data, size_t size)>& sink,
                         uint32_t& crc) {
  uLong sum = crc32(0, Z_NULL, 0);
  const int64_t count = ReadChunks(input, [&](const char* data, size_t size) {
    sum = crc32(sum, reinterpret_cast<const Bytef*>(data), static_cast<uInt>(size));
    return sink(data, size);
  });
  crc = static_cast<uint32_t>(sum);
  return count;
}

bool ReadAll(velm::io::Input& input, std::string& out) {
  return ReadChunks(input, [&out](const char* data, size_t size) {
           out.append(data, size);
           return true;
         }) >= 0;
}

bool ReadAt(velm::io::Input& input, uint64_t offset, size_t size, std::string& out) {
  out.assign(size, '\0');
  if (offset > static_cast<uint64_t>(INT64_MAX) ||
      input.Seek(static_cast<int64_t>(offset), 0) != 0) {
    return false;
  }
  size_t done = 0;
  while (done < size) {
    int64_t count = input.Read(&out[done], size - done);
    if (count <= 0) return false;
    done += static_cast<size_t>(count);
  }
  return true;
}

}  // namespace tool
