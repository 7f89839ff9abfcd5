#include <velm/log/log>

#include <cstdarg>
#include <cstdio>
#include <string>

namespace velm::log {
namespace {

// Detail lines (level below 0) are for hosts that ask for them with a sink.
bool DefaultSinkDrops(int level, bool is_error) { return !is_error && level < 0; }

void DefaultSink(void*, unsigned int channel, int level, bool is_error, const char* message) {
  if (DefaultSinkDrops(level, is_error)) return;
  std::fprintf(stderr, "[%u]%s %s\n", channel, is_error ? " error:" : "", message);
}

Sink g_sink = DefaultSink;
void* g_context = nullptr;

void Emit(unsigned int channel, int level, bool is_error, const char* format, va_list args) {
  // The default sink drops these; formatting them would be wasted.
  if (g_sink == DefaultSink && DefaultSinkDrops(level, is_error)) return;
  char inline_text[512];
  va_list copy;
  va_copy(copy, args);
  int n = std::vsnprintf(inline_text, sizeof inline_text, format, copy);
  va_end(copy);
  if (n < 0) return;
  if (static_cast<size_t>(n) < sizeof inline_text) {
    g_sink(g_context, channel, level, is_error, inline_text);
    return;
  }
  std::string text(static_cast<size_t>(n) + 1, '\0');
  std::vsnprintf(&text[0], text.size(), format, args);
  g_sink(g_context, channel, level, is_error, text.c_str());
}

}  // namespace

void Log(unsigned int channel, int level, const char* format, ...) {
  va_list args;
  va_start(args, format);
  Emit(channel, level, false, format, args);
  va_end(args);
}

void LogError(unsigned int channel, const char* format, ...) {
  va_list args;
  va_start(args, format);
  Emit(channel, 0, true, format, args);
  va_end(args);
}

void SetSink(Sink sink, void* context) {
  g_sink = sink ? sink : DefaultSink;
  g_context = sink ? context : nullptr;
}

}  // namespace velm::log
