#include <cstring>
#include <string>

#include "platform/posix/handle.h"

namespace platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Decodes one code point at text[i], advancing i; malformed sequences give
// U+FFFD and consume one byte, as the Windows conversion does.
char32_t DecodeUtf8(const unsigned char* text, size_t length, size_t& i) {
  unsigned char lead = text[i++];
  if (lead < 0x80) return lead;
  int extra;
  char32_t code;
  char32_t minimum;
  if ((lead & 0xE0) == 0xC0) {
    extra = 1, code = lead & 0x1F, minimum = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    extra = 2, code = lead & 0x0F, minimum = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    extra = 3, code = lead & 0x07, minimum = 0x10000;
  } else {
    return kReplacement;
  }
  if (i + extra > length) return kReplacement;
  for (int k = 0; k < extra; ++k) {
    if ((text[i + k] & 0xC0) != 0x80) return kReplacement;
    code = (code << 6) | (text[i + k] & 0x3F);
  }
  if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
    return kReplacement;
  }
  i += extra;
  return code;
}

char32_t DecodeUtf16(const WCHAR* text, size_t length, size_t& i) {
  char32_t unit = text[i++];
  if (unit < 0xD800 || unit > 0xDFFF) return unit;
  if (unit <= 0xDBFF && i < length && text[i] >= 0xDC00 && text[i] <= 0xDFFF) {
    char32_t low = text[i++];
    return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
  }
  return kReplacement;
}

void EncodeUtf16(char32_t code, std::u16string& out) {
  if (code < 0x10000) {
    out.push_back(static_cast<char16_t>(code));
  } else {
    code -= 0x10000;
    out.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
  }
}

void EncodeUtf8(char32_t code, std::string& out) {
  if (code < 0x80) {
    out.push_back(static_cast<char>(code));
  } else if (code < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (code >> 6)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else if (code < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (code >> 12)));
    out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (code >> 18)));
    out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  }
}

// The Windows result rule shared by both directions: with room 0, the count
// needed; 0 when the result does not fit; else the count written.
template <typename Unit, typename Converted>
int Deliver(const Converted& converted, Unit* destination, int room) {
  if (converted.size() > 0x7FFFFFFF) return 0;
  int needed = static_cast<int>(converted.size());
  if (room == 0) return needed;
  if (destination == nullptr || needed > room) return 0;
  std::memcpy(destination, converted.data(), converted.size() * sizeof(Unit));
  return needed;
}

}  // namespace

namespace native {

int MultiByteToWideChar(UINT, DWORD, const char* source, int source_bytes,
                        WCHAR* destination, int destination_units) {
  if (source == nullptr || source_bytes == 0 || source_bytes < -1) return 0;
  // -1 converts up to and including the terminator.
  size_t length = source_bytes == -1 ? std::strlen(source) + 1
                                     : static_cast<size_t>(source_bytes);
  return Deliver(posix::ToWide(std::string(source, length)), destination,
                 destination_units);
}

int WideCharToMultiByte(UINT, DWORD, const WCHAR* source, int source_units,
                        char* destination, int destination_bytes, const char*,
                        BOOL* used_default_char) {
  if (used_default_char != nullptr) *used_default_char = 0;
  if (source == nullptr || source_units == 0 || source_units < -1) return 0;
  size_t length = source_units == -1
                      ? std::char_traits<WCHAR>::length(source) + 1
                      : static_cast<size_t>(source_units);
  std::string converted;
  for (size_t i = 0; i < length;) EncodeUtf8(DecodeUtf16(source, length, i), converted);
  return Deliver(converted, destination, destination_bytes);
}

}  // namespace native

namespace posix {

std::string ToUtf8(const WCHAR* text) {
  std::string converted;
  if (text == nullptr) return converted;
  size_t length = std::char_traits<WCHAR>::length(text);
  for (size_t i = 0; i < length;) EncodeUtf8(DecodeUtf16(text, length, i), converted);
  return converted;
}

std::string ToNativePath(const WCHAR* path) {
  std::string native = ToUtf8(path);
  for (char& c : native) {
    if (c == '\\') c = '/';
  }
  return native;
}

WideString ToWide(const std::string& text) {
  WideString converted;
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  for (size_t i = 0; i < text.size();) {
    EncodeUtf16(DecodeUtf8(bytes, text.size(), i), converted);
  }
  return converted;
}

}  // namespace posix
}  // namespace platform
