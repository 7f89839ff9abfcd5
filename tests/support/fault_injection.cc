#include "support/fault_injection.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <new>

#include "platform/platform.h"

namespace velm::test {
namespace {

int call_countdown = 0;
bool call_tripped = false;

// Plain counters: the scenarios run on one thread.
int allocation_countdown = 0;
bool allocation_tripped = false;

// The entry of the table as a failing function: it counts, and at the nth
// call returns `failure` instead of calling the system.
template <auto Entry>
struct Failing;

template <typename R, typename... Args, R (*platform::Syscalls::*Entry)(Args...)>
struct Failing<Entry> {
  static inline R failure{};
  static R Call(Args... args) {
    if (call_countdown > 0 && --call_countdown == 0) {
      call_tripped = true;
      return failure;
    }
    return (platform::kNativeSyscalls.*Entry)(args...);
  }
  static void Install(R value) {
    failure = value;
    platform::syscalls.*Entry = &Call;
  }
};

constexpr int kAccessDenied = 5;

void InstallFailingCalls() {
  using platform::Syscalls;
  Failing<&Syscalls::GetCurrentDirectoryW>::Install(0);
  Failing<&Syscalls::PathAppendW>::Install(0);
  Failing<&Syscalls::PathCanonicalizeW>::Install(0);
  Failing<&Syscalls::GetFileAttributesW>::Install(INVALID_FILE_ATTRIBUTES);
  Failing<&Syscalls::CreateFileW>::Install(INVALID_HANDLE_VALUE);
  Failing<&Syscalls::GetFileTime>::Install(0);
  Failing<&Syscalls::DeleteFileW>::Install(0);
  Failing<&Syscalls::SHCreateDirectoryExW>::Install(kAccessDenied);
  Failing<&Syscalls::SHFileOperationW>::Install(kAccessDenied);
  Failing<&Syscalls::FindFirstFileW>::Install(INVALID_HANDLE_VALUE);
  Failing<&Syscalls::FindNextFileW>::Install(0);
  Failing<&Syscalls::CreateFileMappingW>::Install(nullptr);
  Failing<&Syscalls::MapViewOfFile>::Install(nullptr);
  Failing<&Syscalls::_wsopen_s>::Install(EACCES);
  Failing<&Syscalls::_fstat64>::Install(-1);
  Failing<&Syscalls::_lseeki64>::Install(-1);
  Failing<&Syscalls::_read>::Install(-1);
  Failing<&Syscalls::_write>::Install(-1);
  Failing<&Syscalls::_wfopen>::Install(nullptr);
  Failing<&Syscalls::fread>::Install(0);
  Failing<&Syscalls::fwrite>::Install(0);
  Failing<&Syscalls::_fseeki64>::Install(-1);
  Failing<&Syscalls::_ftelli64>::Install(-1);
  Failing<&Syscalls::_mktime64>::Install(-1);
}

}  // namespace

void* FailingAllocation::Allocate(std::size_t size) {
  if (allocation_countdown > 0 && --allocation_countdown == 0) {
    allocation_tripped = true;
    throw std::bad_alloc();
  }
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

FailingCall::FailingCall(int n) {
  call_countdown = n;
  call_tripped = false;
  InstallFailingCalls();
}

FailingCall::~FailingCall() {
  platform::ResetSyscalls();
  call_countdown = 0;
}

bool FailingCall::Tripped() { return call_tripped; }

FailingAllocation::FailingAllocation(int n) {
  allocation_tripped = false;
  allocation_countdown = n;
}

FailingAllocation::~FailingAllocation() { allocation_countdown = 0; }

bool FailingAllocation::Tripped() { return allocation_tripped; }

int CountMappings(const std::string& dir) {
  std::ifstream maps("/proc/self/maps");
  if (platform::kPathSeparator == '\\' || !maps) return -1;
  int count = 0;
  for (std::string line; std::getline(maps, line);) {
    if (line.find(dir) != std::string::npos) ++count;
  }
  return count;
}

}  // namespace velm::test
