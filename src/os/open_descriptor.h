#ifndef VELMIO_OS_OPEN_DESCRIPTOR_H_
#define VELMIO_OS_OPEN_DESCRIPTOR_H_

#include <memory>
#include <string>

#include "os/stream_sys.h"

namespace velm::io {

class Opener;

// Opens path, unchanged, as a CRT descriptor shared for reading and writing
// with other openers. Returns the descriptor, or -1.
int OpenDescriptor(const std::string& path, int oflag, int pmode);

// The state of a stream over fd, which it takes over; null (and fd closed)
// when fd is -1 or its size cannot be read.
std::unique_ptr<StreamSys> CreateStreamSys(Opener* opener, int fd,
                                           const std::string& path);

}  // namespace velm::io

#endif  // VELMIO_OS_OPEN_DESCRIPTOR_H_
