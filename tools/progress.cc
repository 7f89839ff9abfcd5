#include "progress.h"

#include <cstdio>
#include <string>

#include "messages.h"

namespace tool {
namespace {

constexpr int kBarWidth = 30;
constexpr int kLineWidth = 79;
constexpr auto kRedrawInterval = std::chrono::milliseconds(100);

std::string Amount(double bytes) {
  char text[32];
  if (bytes < 1024.0 * 1024.0) {
    std::snprintf(text, sizeof text, "%.1f KiB", bytes / 1024.0);
  } else {
    std::snprintf(text, sizeof text, "%.1f MiB", bytes / (1024.0 * 1024.0));
  }
  return text;
}

}  // namespace

Progress::Progress(const char* verb, size_t members, bool terminal)
    : verb_(verb),
      members_(members),
      terminal_(terminal),
      start_(std::chrono::steady_clock::now()),
      last_draw_(start_) {
  // Warnings and errors clear the bar first, so that they stand on a line of
  // their own; the next draw brings it back.
  if (terminal_) SetBeforeMessage(&Progress::ClearLine, this);
}

Progress::~Progress() {
  if (terminal_) SetBeforeMessage(nullptr, nullptr);
}

void Progress::AddBytes(uint64_t bytes) {
  bytes_ += bytes;
  Draw(false);
}

void Progress::MemberDone() {
  ++done_;
  Draw(false);
}

void Progress::Finish(size_t failed, size_t skipped) {
  if (terminal_) {
    Draw(true);
    std::fputc('\n', stderr);
    drawn_ = false;
  }
  std::fprintf(stderr, "velmio: %s %llu members (%llu failed, %llu skipped), %s in %.2f s (%s/s)\n",
               verb_, static_cast<unsigned long long>(done_ - failed),
               static_cast<unsigned long long>(failed), static_cast<unsigned long long>(skipped),
               Amount(static_cast<double>(bytes_)).c_str(), Seconds(), Amount(Rate()).c_str());
}

void Progress::ClearLine(void* self) {
  if (!static_cast<Progress*>(self)->drawn_) return;
  std::fprintf(stderr, "\r%*s\r", kLineWidth, "");
  static_cast<Progress*>(self)->drawn_ = false;
}

void Progress::Draw(bool force) {
  auto now = std::chrono::steady_clock::now();
  if (!terminal_ || (!force && now - last_draw_ < kRedrawInterval)) return;
  last_draw_ = now;
  int filled = members_ == 0 ? kBarWidth : static_cast<int>(kBarWidth * done_ / members_);
  std::string bar(static_cast<size_t>(filled), '#');
  bar.resize(kBarWidth, '.');
  char line[160];
  std::snprintf(line, sizeof line, "[%s] %llu/%llu members  %s  %s/s", bar.c_str(),
                static_cast<unsigned long long>(done_), static_cast<unsigned long long>(members_),
                Amount(static_cast<double>(bytes_)).c_str(), Amount(Rate()).c_str());
  std::fprintf(stderr, "\r%-*s", kLineWidth, line);
  std::fflush(stderr);
  drawn_ = true;
}

double Progress::Seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

double Progress::Rate() const {
  double seconds = Seconds();
  return seconds > 0 ? static_cast<double>(bytes_) / seconds : 0;
}

}  // namespace tool
