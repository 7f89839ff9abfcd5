#ifndef VELMIO_BENCH_TEXT_LIKE_H_
#define VELMIO_BENCH_TEXT_LIKE_H_

#include <cstddef>
#include <random>
#include <string>

namespace velm::bench {

// size bytes of lines of phrases from a fixed vocabulary drawn with a skewed
// frequency: deflate shrinks megabytes of it about 5:1, a few kilobytes
// about 2:1.
std::string TextLike(std::mt19937& random, size_t size);

}  // namespace velm::bench

#endif  // VELMIO_BENCH_TEXT_LIKE_H_
