#ifndef VELMIO_PLATFORM_DESCRIPTOR_H_
#define VELMIO_PLATFORM_DESCRIPTOR_H_

#include <utility>

#include "platform/platform.h"

namespace velm::platform {

// The sole owner of a descriptor: closes it when destroyed, unless released.
// Moves, never copies.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { reset(); }

  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }
  int release() { return std::exchange(fd_, -1); }
  // A failing close has nothing left to report to: the descriptor is gone.
  void reset(int fd = -1) {
    if (fd_ >= 0) calls.Close(fd_);
    fd_ = fd;
  }

 private:
  int fd_ = -1;
};

}  // namespace velm::platform

#endif  // VELMIO_PLATFORM_DESCRIPTOR_H_
