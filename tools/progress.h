// Progress of extract and pack on standard error: a bar redrawn in place when
// that is a terminal, and one summary line at the end.
#ifndef VELMIO_TOOLS_PROGRESS_H_
#define VELMIO_TOOLS_PROGRESS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace tool {

class Progress {
 public:
  // verb names the work in the summary line: "extracted", "packed".
  Progress(const char* verb, size_t members, bool terminal);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  void AddBytes(uint64_t bytes);
  void MemberDone();
  // The bar's final state, and the summary line.
  void Finish(size_t failed, size_t skipped);

 private:
  static void ClearLine(void* self);
  void Draw(bool force);
  double Seconds() const;
  double Rate() const;

  const char* const verb_;
  const size_t members_;
  const bool terminal_;
  size_t done_ = 0;
  uint64_t bytes_ = 0;
  bool drawn_ = false;
  const std::chrono::steady_clock::time_point start_;
  std::chrono::steady_clock::time_point last_draw_;
};

}  // namespace tool

#endif  // VELMIO_TOOLS_PROGRESS_H_
