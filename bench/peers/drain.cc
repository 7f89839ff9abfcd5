#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "reader.h"

namespace velm::bench {
namespace {
constexpr size_t kChunk = 256 << 10;
}

void Fail(const std::string& message) {
  std::fprintf(stderr, "peers: FAILED: %s\n", message.c_str());
  std::fflush(stderr);
  std::_Exit(2);
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const size_t n = values.size();
  return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

Drain::Drain(std::string reader, bool verify)
    : reader_(std::move(reader)), verify_(verify), buffer_(kChunk) {}

void Drain::Start(const Entry& entry) {
  entry_ = &entry;
  bytes_ = 0;
  crc_ = 0;
}

bool Drain::Take(int64_t got) {
  if (got < 0) Fail("read error");
  if (got == 0) return false;
  bytes_ += static_cast<uint64_t>(got);
  if (verify_) {
    crc_ = static_cast<uint32_t>(
        crc32_z(crc_, reinterpret_cast<const Bytef*>(buffer_.data()), static_cast<size_t>(got)));
  }
  return true;
}

void Drain::Finish() {
  if (bytes_ != entry_->size) {
    Fail("read " + std::to_string(bytes_) + " bytes, expected " + std::to_string(entry_->size));
  }
  if (verify_ && crc_ != entry_->crc) Fail("CRC-32 differs");
}

void Drain::Fail(const std::string& what) const {
  velm::bench::Fail(reader_ + ", member " + (entry_ ? entry_->name : std::string("?")) + ": " +
                    what);
}

}  // namespace velm::bench
