#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include <velm/io/opener>
#include <velm/log/log>

#include "support/fault_injection.h"
#include "support/test_support.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

using Outcome = std::vector<std::string>;

// One use of the library, run again and again with a fault at a later point
// each time. A failing run must answer `failed` or, for a listing, a part of
// the whole answer; or let std::bad_alloc through.
struct Scenario {
  const char* name;
  std::function<Outcome(const std::string& root)> run;
  Outcome failed;
};

Opener* Sys() { return GetOpener(OpenerTypeSys); }
Opener* MMap() { return GetOpener(OpenerTypeMMap); }
std::string Bool(bool value) { return value ? "true" : "false"; }

std::string ReadAll(Input* input) {
  if (input == nullptr) return "null";
  std::string bytes(static_cast<size_t>(input->GetSize()), '\0');
  bytes.resize(static_cast<size_t>(std::max<int64_t>(0, input->Read(bytes.data(), bytes.size()))));
  return bytes;
}

void Populate(const std::string& root) {
  fs::remove_all(fs::u8path(root));
  fs::create_directories(fs::u8path(root + "/tree/sub/deeper"));
  test::WriteFile(root + "/f.txt", "mapped bytes");
  test::WriteFile(root + "/tree/a.txt", "a");
  test::WriteFile(root + "/tree/sub/b.txt", "b");
  test::WriteFile(root + "/tree/sub/deeper/c.txt", "c");
}

const std::vector<Scenario>& Scenarios() {
  static const std::vector<Scenario> scenarios = {
      {"MappedOpen",
       [](const std::string& root) -> Outcome {
         std::unique_ptr<Input> input(MMap()->OpenInput(root + "/f.txt"));
         if (input == nullptr) return {"null"};
         std::unique_ptr<Input> clone(input->Clone());
         std::unique_ptr<Input> again(MMap()->OpenInput(root + "/f.txt"));
         return {ReadAll(input.get()), ReadAll(clone.get()), ReadAll(again.get())};
       },
       {"null"}},
      {"IsFile", [](const std::string& root) -> Outcome {
         return {Bool(Sys()->IsFile(root + "/f.txt"))};
       }, {"false"}},
      {"IsDirectory", [](const std::string& root) -> Outcome {
         return {Bool(Sys()->IsDirectory(root + "/tree"))};
       }, {"false"}},
      {"GetModifiedTime", [](const std::string& root) -> Outcome {
         return {Sys()->GetModifiedTime(root + "/f.txt") > 0 ? "time" : "-1"};
       }, {"-1"}},
      {"StandardizePath", [](const std::string& root) -> Outcome {
         std::string out = "untouched";
         Sys()->StandardizePath(root + "/tree/../f.txt", out);
         return {out};
       }, {"untouched"}},
      {"CreateDirectories", [](const std::string& root) -> Outcome {
         return {Bool(Sys()->CreateDirectories(root + "/new/a/b"))};
       }, {"false"}},
      {"RemoveFile", [](const std::string& root) -> Outcome {
         return {Bool(Sys()->RemoveFile(root + "/f.txt"))};
       }, {"false"}},
      {"RemoveDirectory", [](const std::string& root) -> Outcome {
         return {Bool(Sys()->RemoveDirectory(root + "/tree"))};
       }, {"false"}},
      {"List", [](const std::string& root) {
         Outcome out;
         Sys()->List(root + "/tree", out);
         return out;
       }, {}},
      {"ListFiles", [](const std::string& root) {
         Outcome out;
         Sys()->ListFiles(root + "/tree", true, out);
         return out;
       }, {}},
  };
  return scenarios;
}

// Runs the scenario with a fault at its 1st, 2nd, ... point until a run
// meets none; returns how many points there were.
template <typename Fault>
int Drive(const Scenario& scenario) {
  test::TempDir dir;
  const std::string root = dir.Join("t");
  Populate(root);
  Outcome whole = scenario.run(root);
  std::sort(whole.begin(), whole.end());
  for (int n = 1; n < 100000; ++n) {
    Populate(root);
    const int descriptors = test::CountOpenDescriptors();
    const int mappings = test::CountMappings(root);
    Outcome outcome;
    bool threw = false;
    bool tripped = false;
    {
      Fault fault(n);
      try {
        outcome = scenario.run(root);
      } catch (const std::bad_alloc&) {
        threw = true;
      }
      tripped = Fault::Tripped();
    }
    std::sort(outcome.begin(), outcome.end());
    const std::string where = std::string(scenario.name) + " at " + std::to_string(n);
    constexpr bool kMayThrow = std::is_same_v<Fault, test::FailingAllocation>;
    EXPECT_TRUE(!threw || kMayThrow) << where;
    if (!threw) {
      EXPECT_TRUE(outcome == scenario.failed ||
                  std::includes(whole.begin(), whole.end(), outcome.begin(), outcome.end()))
          << where << ": " << ::testing::PrintToString(outcome);
    }
    EXPECT_EQ(test::CountOpenDescriptors(), descriptors) << where;
    EXPECT_EQ(test::CountMappings(root), mappings) << where;
    if (!tripped) {
      EXPECT_EQ(outcome, whole) << where;
      return n - 1;
    }
  }
  ADD_FAILURE() << scenario.name << " never ran untouched";
  return -1;
}

template <typename Fault>
void DriveAll(const char* kind) {
  // Failed mapped opens log; the lines are not what is tested here.
  log::SetSink([](void*, unsigned, int, bool, const char*) {}, nullptr);
  for (const Scenario& scenario : Scenarios()) {
    std::printf("%s: %d %s\n", scenario.name, Drive<Fault>(scenario), kind);
  }
  log::SetSink(nullptr, nullptr);
}

TEST(FaultInjection, EveryFailingPlatformCall) {
  DriveAll<test::FailingCall>("failing calls");
}

TEST(FaultInjection, EveryFailingAllocation) {
  DriveAll<test::FailingAllocation>("failing allocations");
}

}  // namespace
}  // namespace velm::io

// The allocator of this program counts, so that FailingAllocation can fail
// it; the aligned forms keep the runtime's own pair.
void* operator new(std::size_t size) { return velm::test::FailingAllocation::Allocate(size); }
void* operator new[](std::size_t size) { return velm::test::FailingAllocation::Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return velm::test::FailingAllocation::Allocate(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }
