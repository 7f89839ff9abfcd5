// StandardizePathASCII on arbitrary bytes: a true result is canonical and
// stable, a false one leaves out alone, and in and out may be one object.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include <velm/io/path>

#include "check.h"
#include "logical_path.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string in(reinterpret_cast<const char*>(data), size);
  const std::string previous = "\x01previous";
  std::string out = previous;
  const bool ok = velm::io::StandardizePathASCII(in, out);
  if (ok) {
    fuzz::CheckLogicalPath(out);
  } else {
    FUZZ_CHECK(out == previous);
  }
  if (std::any_of(in.begin(), in.end(), fuzz::IsRejectedByte)) FUZZ_CHECK(!ok);

  // The two separators are equal in every way.
  std::string slashes = in;
  std::replace(slashes.begin(), slashes.end(), '\\', '/');
  std::string slashes_out = previous;
  FUZZ_CHECK(velm::io::StandardizePathASCII(slashes, slashes_out) == ok);
  FUZZ_CHECK(slashes_out == out);

  std::string same = in;
  FUZZ_CHECK(velm::io::StandardizePathASCII(same, same) == ok);
  FUZZ_CHECK(same == (ok ? out : in));
  return 0;
}
