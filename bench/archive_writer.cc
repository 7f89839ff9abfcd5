#include "archive_writer.h"

#include <zlib.h>

#include <stdexcept>
#include <vector>

namespace velm::bench {
namespace {

// 2021-06-01 12:00:00: some readers take a zero date for a broken one.
constexpr uint16_t kDosTime = 12 << 11;
constexpr uint16_t kDosDate = (41 << 9) | (6 << 5) | 1;

void Put16(std::string& out, uint32_t value) {
  out.push_back(static_cast<char>(value & 0xff));
  out.push_back(static_cast<char>((value >> 8) & 0xff));
}

void Put32(std::string& out, uint32_t value) {
  Put16(out, value & 0xffff);
  Put16(out, value >> 16);
}

// compress2 writes a zlib stream: a 2-byte header, then the raw deflate data
// that a zip member holds, then a 4-byte Adler-32.
std::string Deflate(const std::string& content) {
  uLongf size = compressBound(static_cast<uLong>(content.size()));
  std::string data(size, '\0');
  if (compress2(reinterpret_cast<Bytef*>(&data[0]), &size,
                reinterpret_cast<const Bytef*>(content.data()),
                static_cast<uLong>(content.size()), 6) != Z_OK) {
    throw std::runtime_error("compress2 failed");
  }
  data.resize(size - 4);
  data.erase(0, 2);
  return data;
}

}  // namespace

uint32_t Crc32(const std::string& bytes) {
  return static_cast<uint32_t>(
      crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

void ZipWriter::Add(const std::string& name, const std::string& content,
                    bool deflate) {
  std::string data = deflate ? Deflate(content) : content;
  uint32_t crc = Crc32(content);
  uint32_t offset = static_cast<uint32_t>(records_.size());

  // The fields that the local header and the central record share.
  std::string common;
  Put16(common, 20);  // version needed to extract
  Put16(common, 0);   // flags
  Put16(common, deflate ? 8 : 0);
  Put16(common, kDosTime);
  Put16(common, kDosDate);
  Put32(common, crc);
  Put32(common, static_cast<uint32_t>(data.size()));
  Put32(common, static_cast<uint32_t>(content.size()));
  Put16(common, static_cast<uint32_t>(name.size()));
  Put16(common, 0);  // extra field length

  Put32(records_, 0x04034b50);
  records_ += common;
  records_ += name;
  records_ += data;

  Put32(directory_, 0x02014b50);
  Put16(directory_, 20);  // made by: MS-DOS attributes
  directory_ += common;
  Put16(directory_, 0);  // comment length
  Put16(directory_, 0);  // disk number
  Put16(directory_, 0);  // internal attributes
  Put32(directory_, 0);  // external attributes
  Put32(directory_, offset);
  directory_ += name;

  ++count_;
  data_bytes_ += data.size();
}

std::string ZipWriter::Finish() {
  std::string archive = std::move(records_);
  uint32_t directory_offset = static_cast<uint32_t>(archive.size());
  archive += directory_;
  Put32(archive, 0x06054b50);
  Put16(archive, 0);  // this disk
  Put16(archive, 0);  // disk of the central directory
  Put16(archive, count_);
  Put16(archive, count_);
  Put32(archive, static_cast<uint32_t>(directory_.size()));
  Put32(archive, directory_offset);
  Put16(archive, 0);  // comment length
  *this = ZipWriter();
  return archive;
}

std::string TextLike(std::mt19937& random, size_t size) {
  static const char* const kSyllables[] = {
      "an", "be", "ca", "de", "el", "fo", "ga", "hi", "in", "jo", "ka",
      "le", "mo", "na", "or", "pe", "qu", "ra", "st", "th", "un", "ve",
      "wa", "xe", "yo", "ze", "ing", "ter", "tion", "ous", "ly", "ment"};
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
