#ifndef VELMIO_TESTS_SUPPORT_FAULT_INJECTION_H_
#define VELMIO_TESTS_SUPPORT_FAULT_INJECTION_H_

#include <cstddef>
#include <string>

namespace velm::test {

// While alive, the nth platform call (from 1) that can fail fails as the
// system reports it, without being made; the others go through. Calls that
// only compute (text conversion, PathIsRelativeW), that release a resource,
// and GetFileSize (whose failure value is also a valid size) are not failed.
class FailingCall {
 public:
  explicit FailingCall(int n);
  ~FailingCall();
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;

  static bool Tripped();
};

// While alive, the nth allocation (from 1) through Allocate throws
// std::bad_alloc. A program that uses it defines operator new over Allocate.
class FailingAllocation {
 public:
  explicit FailingAllocation(int n);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  static bool Tripped();
  static void* Allocate(std::size_t size);
};

// Mapped views of files below dir in this process; -1 where the platform
// cannot tell.
int CountMappings(const std::string& dir);

}  // namespace velm::test

#endif  // VELMIO_TESTS_SUPPORT_FAULT_INJECTION_H_
