#include "text_like.h"

#include <vector>

namespace velm::bench {

std::string TextLike(std::mt19937& random, size_t size) {
  static const char* const kSyllables[] = {"an", "be", "ca",  "de",  "el",   "fo",  "ga", "hi",
                                           "in", "jo", "ka",  "le",  "mo",   "na",  "or", "pe",
                                           "qu", "ra", "st",  "th",  "un",   "ve",  "wa", "xe",
                                           "yo", "ze", "ing", "ter", "tion", "ous", "ly", "ment"};
  constexpr size_t kSyllableCount = sizeof(kSyllables) / sizeof(kSyllables[0]);
  // Phrases of words of syllables: the repeats at every level are what
  // deflate finds in prose, logs and scripts.
  static const std::vector<std::string> phrases = [] {
    std::mt19937 make(1);
    std::vector<std::string> words(4096);
    for (std::string& word : words) {
      for (unsigned n = 1 + make() % 4; n > 0; --n) {
        word += kSyllables[make() % kSyllableCount];
      }
    }
    std::vector<std::string> out(1024);
    for (std::string& phrase : out) {
      for (unsigned n = 2 + make() % 5; n > 0; --n) {
        phrase += words[make() % words.size()] + " ";
      }
    }
    return out;
  }();

  std::uniform_real_distribution<double> unit(0.0, 1.0);
  std::string text;
  text.reserve(size + 64);
  while (text.size() < size) {
    // Squaring a uniform number makes a few phrases common and most rare.
    double u = unit(random);
    size_t pick = static_cast<size_t>(u * u * static_cast<double>(phrases.size()));
    text += phrases[pick];
    unsigned roll = random() % 100;
    if (roll < 8) {
      text += ".\n";
    } else if (roll < 30) {
      text += ", ";
    }
  }
  text.resize(size);
  return text;
}

}  // namespace velm::bench
