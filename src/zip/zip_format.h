// Record layout of the zip format: what the library, the tool, the tests and
// the benchmarks read and write.
#ifndef VELMIO_ZIP_ZIP_FORMAT_H_
#define VELMIO_ZIP_ZIP_FORMAT_H_

#include <cstddef>
#include <cstdint>
#include <string>

namespace velm::zip {

constexpr uint32_t kLocalHeader = 0x04034b50;
constexpr uint32_t kCentralHeader = 0x02014b50;
constexpr uint32_t kEndRecord = 0x06054b50;
constexpr uint32_t kZip64EndRecord = 0x06064b50;
constexpr uint32_t kZip64Locator = 0x07064b50;
constexpr uint32_t kDataDescriptor = 0x08074b50;

constexpr size_t kLocalHeaderSize = 30;
constexpr size_t kCentralHeaderSize = 46;
constexpr size_t kEndRecordSize = 22;
constexpr size_t kZip64LocatorSize = 20;
constexpr size_t kZip64EndRecordSize = 56;
// Signature, CRC-32 and two 64-bit sizes.
constexpr size_t kLongestDataDescriptor = 24;
constexpr uint16_t kZip64ExtraTag = 0x0001;
constexpr uint32_t kMax32 = 0xFFFFFFFF;
constexpr uint16_t kMax16 = 0xFFFF;

constexpr uint16_t kFlagEncrypted = 1 << 0;
constexpr uint16_t kFlagDataDescriptor = 1 << 3;
constexpr uint16_t kFlagUtf8 = 1 << 11;

constexpr uint16_t kMethodStored = 0;
constexpr uint16_t kMethodDeflated = 8;

// Version needed to extract: 1.0 for stored data, 2.0 for deflate and for
// directories.
constexpr uint16_t kVersionStored = 10;
constexpr uint16_t kVersionDeflated = 20;

// Little-endian integer of `bytes` bytes at p.
inline uint64_t Get(const unsigned char* p, int bytes) {
  uint64_t value = 0;
  for (int i = bytes - 1; i >= 0; --i) value = value << 8 | p[i];
  return value;
}

inline uint16_t Little16(const unsigned char* p) { return static_cast<uint16_t>(Get(p, 2)); }
inline uint32_t Little32(const unsigned char* p) { return static_cast<uint32_t>(Get(p, 4)); }

inline void Put(std::string& out, uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>(value >> (8 * i)));
}

}  // namespace velm::zip

#endif  // VELMIO_ZIP_ZIP_FORMAT_H_
