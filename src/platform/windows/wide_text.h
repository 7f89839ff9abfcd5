#ifndef VELMIO_PLATFORM_WINDOWS_WIDE_TEXT_H_
#define VELMIO_PLATFORM_WINDOWS_WIDE_TEXT_H_

// Paths between the library's UTF-8 and the system's UTF-16. The UTF-16 form
// lives only for the length of one call.

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>

namespace velm::platform::windows {

// One conversion of NUL-terminated text, terminator included: the units
// written, 0 when destination is too small; with a null destination of 0
// units, the units needed. Malformed input is no error: it becomes U+FFFD.
int ConvertText(const char* source, wchar_t* destination, int units);
int ConvertText(const wchar_t* source, char* destination, int units);

// Text converted on the stack right before or after a system call. Up to
// kInlineUnits - 1 units stay in the object; longer text moves to the heap
// and is never cut. kSpareUnits more NULs stand behind the terminator. Text
// that holds a NUL is refused and left empty: the system would stop there and
// act on another file.
template <typename Unit, typename Source, int kSpareUnits>
class ConvertedText {
 public:
  static constexpr int kInlineUnits = 512;

  // Null and the empty text give the empty text.
  explicit ConvertedText(const Source* source) : text(inline_) { Convert(source); }
  explicit ConvertedText(const std::basic_string<Source>& source) : text(inline_) {
    if (source.find(Source{}) != std::basic_string<Source>::npos) {
      Refuse();
      return;
    }
    Convert(source.c_str());
  }
  // text may point into the object itself.
  ConvertedText(const ConvertedText&) = delete;
  ConvertedText& operator=(const ConvertedText&) = delete;

  bool IsRefused() const { return refused_; }
  bool IsInline() const { return text == inline_; }

  // The converted text, never null, ending in its terminator.
  Unit* text;

 private:
  void Convert(const Source* source) {
    Clear();
    if (source == nullptr || source[0] == Source{}) return;
    int written = ConvertText(source, inline_, kInlineUnits);
    if (written != 0) {
      std::fill_n(inline_ + written, kSpareUnits, Unit{});
      return;
    }
    int needed = ConvertText(source, nullptr, 0);
    // Only text beyond what the conversion can count gets here.
    if (needed <= 0) {
      Refuse();
      return;
    }
    // Zeroed, so the spare NULs stand behind the text.
    heap_ = std::make_unique<Unit[]>(static_cast<std::size_t>(needed) + kSpareUnits);
    if (ConvertText(source, heap_.get(), needed) == 0) {
      heap_.reset();
      Refuse();
      return;
    }
    text = heap_.get();
  }

  // The empty text, followed by its spare NULs.
  void Clear() { std::fill_n(inline_, 1 + kSpareUnits, Unit{}); }

  void Refuse() {
    refused_ = true;
    text = inline_;
    Clear();
  }

  Unit inline_[kInlineUnits + kSpareUnits];
  std::unique_ptr<Unit[]> heap_;
  bool refused_ = false;
};

// A path on its way to the system. The second NUL makes its text a list of
// one name, as the shell's calls take them.
using WidePath = ConvertedText<wchar_t, char, 1>;

// Text on its way back from the system.
using Utf8Path = ConvertedText<char, wchar_t, 0>;

// The shell's calls take only '\\'; both separators are equal on input.
inline void UseBackslashes(wchar_t* text) {
  for (; *text != 0; ++text) {
    if (*text == L'/') *text = L'\\';
  }
}

}  // namespace velm::platform::windows

#endif  // VELMIO_PLATFORM_WINDOWS_WIDE_TEXT_H_
