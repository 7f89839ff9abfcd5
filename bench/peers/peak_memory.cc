#include "peak_memory.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>

#include <velm/io/opener>

namespace velm::bench {
namespace {

struct Status {
  long rss_kb = -1;
  long hwm_kb = -1;
  long mapped_kb = 0;  // file-backed and shared memory pages
};

Status ReadStatus() {
  Status status;
  std::ifstream in("/proc/self/status");
  for (std::string line; std::getline(in, line);) {
    char key[32];
    long value;
    if (std::sscanf(line.c_str(), "%31s %ld", key, &value) != 2) continue;
    std::string name = key;
    if (name == "VmRSS:") status.rss_kb = value;
    if (name == "VmHWM:") status.hwm_kb = value;
    if (name == "RssFile:" || name == "RssShmem:") status.mapped_kb += value;
  }
  return status;
}

// What the child writes back: rise of the peak and of the mapped pages in
// KiB, or -1 and a reason.
struct Report {
  long peak_kb;
  long mapped_kb;
  char failure[200];
};

Report Child(const std::string& archive, const Entry& member) {
  Report report = {-1, 0, ""};
  Drain drain("velmio mmap", false);  // its buffer is resident from here on
  std::ofstream clear_refs("/proc/self/clear_refs");
  if (!(clear_refs << "5" << std::flush)) {
    std::snprintf(report.failure, sizeof(report.failure),
                  "cannot reset VmHWM through /proc/self/clear_refs");
    return report;
  }
  Status before = ReadStatus();
  io::Opener* zip = io::LoadZip(archive, io::GetOpener(io::OpenerTypeMMap));
  if (!zip) Fail("velmio mmap: LoadZip failed for " + archive);
  std::unique_ptr<io::Input> input(zip->OpenInput(member.name));
  if (!input) drain.Fail("OpenInput gave null");
  drain.Start(member);
  while (drain.Take(input->Read(drain.data(), drain.size()))) {}
  drain.Finish();
  // Taken while the view is still mapped, so that its pages still count.
  Status after = ReadStatus();
  input.reset();
  io::UnloadZip(zip);
  report.peak_kb = after.hwm_kb - before.rss_kb;
  report.mapped_kb = after.mapped_kb - before.mapped_kb;
  return report;
}

}  // namespace

PeakMemory MeasurePeakMemory(const std::string& archive, const Entry& member) {
  PeakMemory result;
  int pipe_fds[2];
  if (pipe(pipe_fds) != 0) {
    result.failure = "pipe failed";
    return result;
  }
  pid_t pid = fork();
  if (pid == 0) {
    close(pipe_fds[0]);
    Report report = Child(archive, member);
    ssize_t written = write(pipe_fds[1], &report, sizeof(report));
    _exit(written == sizeof(report) ? 0 : 1);
  }
  close(pipe_fds[1]);
  Report report = {-1, 0, "fork failed"};
  if (pid > 0) {
    if (read(pipe_fds[0], &report, sizeof(report)) != sizeof(report)) {
      report = {-1, 0, "the child ended without a report"};
    }
    waitpid(pid, nullptr, 0);
  }
  close(pipe_fds[0]);
  if (report.peak_kb < 0) {
    result.failure = report.failure;
    return result;
  }
  result.measured = true;
  result.peak_mib = static_cast<double>(report.peak_kb) / 1024;
  result.mapped_mib = static_cast<double>(report.mapped_kb) / 1024;
  return result;
}

}  // namespace velm::bench
