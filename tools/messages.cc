#include "messages.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <velm/log/log>

namespace tool {
namespace {

bool verbose_log = false;
int library_errors = 0;
void (*before_message)(void*) = nullptr;
void* before_message_context = nullptr;
void (*detail_listener)(void*, const char*) = nullptr;
void* detail_listener_context = nullptr;

void WriteLine(const char* prefix, const char* format, std::va_list args) {
  if (before_message != nullptr) before_message(before_message_context);
  std::fprintf(stderr, "velmio: %s", prefix);
  std::vfprintf(stderr, format, args);
  std::fputc('\n', stderr);
}

void PrintLine(const char* prefix, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  WriteLine(prefix, format, args);
  va_end(args);
}

void LibrarySink(void*, unsigned int, int level, bool is_error, const char* message) {
  if (is_error) ++library_errors;
  if (!is_error && level < 0 && detail_listener != nullptr) {
    detail_listener(detail_listener_context, message);
  }
  if (is_error || verbose_log || level >= 0) PrintLine("", "%s", message);
}

}  // namespace

void InstallLogSink(bool verbose) {
  verbose_log = verbose;
  velm::log::SetSink(LibrarySink, nullptr);
}

void ListenToDetails(void (*listener)(void*, const char*), void* context) {
  detail_listener = listener;
  detail_listener_context = context;
}

int LibraryErrorCount() { return library_errors; }

int Error(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  WriteLine("", format, args);
  va_end(args);
  return 1;
}

void Warning(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  WriteLine("warning: ", format, args);
  va_end(args);
}

int FinishOutput(int status) {
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return status;
  return Error("cannot write standard output: %s", std::strerror(errno));
}

void SetBeforeMessage(void (*hook)(void* context), void* context) {
  before_message = hook;
  before_message_context = context;
}

}  // namespace tool
