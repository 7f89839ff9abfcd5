// Failure of a harness property: libFuzzer keeps the input as a crash, and
// the replay program stops with the message.
#ifndef VELMIO_FUZZ_CHECK_H_
#define VELMIO_FUZZ_CHECK_H_

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                            \
  do {                                                                                   \
    if (!(condition)) {                                                                  \
      std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                      \
    }                                                                                    \
  } while (false)

#endif  // VELMIO_FUZZ_CHECK_H_
