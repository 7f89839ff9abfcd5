// Every failure point of a use of the library, one at a time: platform calls,
// allocations, the calls of an archive's own stream, and another writer
// between two platform calls.
#include <algorithm>
#include <new>
#include <utility>

#include "os/opener_os.h"
#include "support/support.h"

namespace velm::io {
namespace {

using namespace test;

// The nth use (from 1) of a kind of failure point fails; 0 fails none.
struct Countdown {
  int left = 0;
  bool tripped = false;
  bool Hit() { return left > 0 && --left == 0 && (tripped = true); }
};
Countdown calls, allocations, input_calls, interference;  // one thread uses them
bool fail_nothrow_new = false;  // only the inflater's zlib state comes from it
std::string root;  // of the files of the scenario that runs
void Interfere();

// A table entry that, when the countdown says so, returns `failure` without
// calling the system.
template <auto Entry>
struct Failing;
template <typename R, typename... Args, R (*platform::Calls::*Entry)(Args...)>
struct Failing<Entry> {
  static inline R failure{};
  static R Call(Args... args) {
    if (interference.Hit()) Interfere();
    return calls.Hit() ? failure : (platform::kNativeCalls.*Entry)(args...);
  }
  static void Set(R value) { failure = value, platform::calls.*Entry = &Call; }
};

// Every call that can fail, with the answer of its failure. Left alone: the
// calls that release, and those that cannot fail (BufferedDescriptor of an
// open file, AdviseLargePages).
void InstallFailingCalls() {
  using C = platform::Calls;
  Failing<&C::CurrentDirectory>::Set(false), Failing<&C::Canonicalize>::Set(false);
  Failing<&C::KindOf>::Set(platform::FileKind::kMissing), Failing<&C::ModifiedTime>::Set(-1);
  Failing<&C::IdentityOf>::Set(false), Failing<&C::Reopen>::Set(-1), Failing<&C::ReopenBuffered>::Set(nullptr);
  Failing<&C::CreateDirectories>::Set(false), Failing<&C::RemoveFile>::Set(false);
  Failing<&C::RemoveTree>::Set(false), Failing<&C::ListDirectory>::Set(false);
  Failing<&C::Open>::Set(-1), Failing<&C::SizeOf>::Set(false), Failing<&C::Seek>::Set(-1);
  Failing<&C::Read>::Set(-1), Failing<&C::ReadAt>::Set(-1), Failing<&C::Write>::Set(-1);
  Failing<&C::OpenBuffered>::Set(nullptr), Failing<&C::ReadBuffered>::Set(0);
  Failing<&C::WriteBuffered>::Set(0), Failing<&C::SeekBuffered>::Set(-1);
  Failing<&C::TellBuffered>::Set(-1), Failing<&C::Map>::Set(platform::MapResult::kNotOpened);
  Failing<&C::LocalTime>::Set(-1);
}

// A stream of a sys file whose reads and seeks fail, clones give null and
// IsEOF true too early at the nth of those calls. No descriptor: every byte
// goes through it.
struct FaultyInput final : Input {
  FaultyInput(std::unique_ptr<Input> inner, Opener* opener) : inner(std::move(inner)), opener(opener) {}
  int64_t Tell() override { return inner->Tell(); }
  int32_t Seek(int64_t offset, int32_t whence) override { return input_calls.Hit() ? -1 : inner->Seek(offset, whence); }
  int64_t GetSize() const override { return inner->GetSize(); }
  bool IsEOF() override { return input_calls.Hit() || inner->IsEOF(); }
  void Close() override { inner->Close(); }
  bool IsClosed() const override { return inner->IsClosed(); }
  const std::string& GetPath() const override { return inner->GetPath(); }
  Opener* GetOpener() const override { return opener; }
  bool GetDescriptor(int*, int64_t*) override { return false; }
  int64_t Read(void* buffer, size_t count) override { return input_calls.Hit() ? -1 : inner->Read(buffer, count); }
  Input* Clone() override { return input_calls.Hit() ? nullptr : opener->OpenInput(GetPath()); }
  std::unique_ptr<Input> inner;
  Opener* opener;
};

struct FaultyOpener final : OpenerOS {
  FaultyOpener() : OpenerOS(OpenerTypeSys, "faulty") {}
  Input* OpenInput(const std::string& path) override {
    std::unique_ptr<Input> inner(GetOpener(OpenerTypeSys)->OpenInput(path));
    return inner ? new FaultyInput(std::move(inner), this) : nullptr;
  }
  Output* OpenOutput(const std::string&) override { return nullptr; }
};

Opener* Sys() { return GetOpener(OpenerTypeSys); }
const std::string kMember(300, 'm'), kOther(300, 'o');  // a.zip's members, and its replacement's

// A member cut short by a failing read is a start of it; zeros or other bytes
// are not. Those of the replacement archive are marked.
void ReadMembers(Opener* opener, const std::string& root, Strings& found) {
  Strings listed;
  ZipPtr zip(LoadZip(root + "/a.zip", opener));
  if (zip) zip->ListFiles("", true, listed);
  for (const std::string& name : listed) {
    std::unique_ptr<Input> input(zip->OpenInput(name));
    const std::string got = input ? ReadAll(input.get()) : "";
    found.push_back(kMember.compare(0, got.size(), got) == 0  ? name
                    : kOther.compare(0, got.size(), got) == 0 ? name + "~"
                                                              : name + "=" + got);
  }
}

// One use of the library, adding what it found. A run with a fault must find
// a part of what the run without finds, or let std::bad_alloc through.
struct Scenario {
  const char* name;
  void (*run)(const std::string& root, Strings& found);
};

const Scenario kScenarios[] = {
    {"MappedOpen", [](const std::string& root, Strings& found) {
       Opener* mmap = GetOpener(OpenerTypeMMap);
       std::unique_ptr<Input> input(mmap->OpenInput(root + "/f")), clone(input ? input->Clone() : nullptr);
       std::unique_ptr<Input> again(input ? mmap->OpenInput(root + "/f") : nullptr);
       for (Input* each : {input.get(), clone.get(), again.get()}) each ? found.push_back(ReadAll(each)) : void();
     }},
    // One forward to the platform each: one scenario for all.
    {"Queries", [](const std::string& root, Strings& found) {
       if (Sys()->GetModifiedTime(root + "/f") > 0) found.push_back("time");
       if (Sys()->IsFile(root + "/f")) found.push_back("file");
       if (Sys()->IsDirectory(root + "/tree")) found.push_back("directory");
       if (Sys()->CreateDirectories(root + "/new/a/b")) found.push_back("made");
       if (Sys()->RemoveDirectory(root + "/tree/sub/deeper")) found.push_back("removed");
     }},
    {"Listings", [](const std::string& root, Strings& found) {
       Sys()->List(root + "/tree", found), Sys()->ListFiles(root + "/tree", true, found);
     }},
    // Through a stream with no descriptor, and through the descriptor
    // back-end, whose deflated members are read at an offset.
    {"ArchiveMembers", [](const std::string& root, Strings& found) {
       FaultyOpener faulty;
       ReadMembers(&faulty, root, found);
     }},
    {"ArchiveOverSys", [](const std::string& root, Strings& found) { ReadMembers(Sys(), root, found); }},
};

void Populate(const std::string& root) {
  fs::remove_all(fs::u8path(root));
  fs::create_directories(fs::u8path(root + "/tree/sub/deeper"));
  WriteFile(root + "/f", "mapped bytes");
  for (const char* file : {"/tree/a", "/tree/sub/b", "/tree/sub/deeper/c"}) WriteFile(root + file, file);
  WriteFile(root + "/a.zip", ZipWriter().Stored("s", kMember).Deflated("d/d", kMember).bytes);
  WriteFile(root + "/b.zip", ZipWriter().Stored("s", kOther).Deflated("d/d", kOther).bytes);
}

// Another writer: the archive replaced by rename, and the mapped file emptied
// and rewritten through the library, which refuses that while it is mapped.
void Interfere() {
  std::error_code refused;  // Windows renames no file onto an open one
  fs::rename(fs::u8path(root + "/b.zip"), fs::u8path(root + "/a.zip"), refused);
  std::unique_ptr<Output> output(Sys()->OpenOutput(root + "/f"));
  if (output) output->Write("short", 5);
}

// Runs the scenario untouched, then with its 1st, 2nd, ... failure point
// failing until a run meets none; returns how many points there were. What a
// run finds comes whole from the files before or after the interference.
int Drive(const Scenario& scenario, Countdown& countdown) {
  TempDir dir;
  root = dir.Join("t");
  Strings whole, after;
  if (&countdown == &interference) {
    Populate(root), Interfere(), scenario.run(root, after);
    std::sort(after.begin(), after.end());
  }
  for (int n = 0; n < 10000; ++n) {
    Populate(root);
    const int descriptors = DescriptorMark(), mappings = Mappings(root);
    Strings found;
    bool threw = false;
    countdown = {n, false};
    try { scenario.run(root, found); } catch (const std::bad_alloc&) { threw = true; }
    const bool tripped = std::exchange(countdown, {}).tripped;
    std::sort(found.begin(), found.end());
    if (n == 0) whole = found;
    const std::string where = std::string(scenario.name) + " at " + std::to_string(n);
    const auto within = [&](const Strings& all) { return std::includes(all.begin(), all.end(), found.begin(), found.end()); };
    EXPECT_TRUE(threw ? &countdown == &allocations : within(whole) || within(after)) << where << ": " << Joined(found);
    EXPECT_TRUE(DescriptorMark() == descriptors && Mappings(root) == mappings) << where;
    if (!tripped && n > 0) {
      EXPECT_TRUE(found == whole && !whole.empty()) << where;
      return n - 1;
    }
  }
  ADD_FAILURE() << scenario.name << " never ran untouched";
  return -1;
}

void DriveAll(const char* kind, Countdown& countdown) {
  LogCapture log;  // failed opens log; the lines are not what is tested here
  InstallFailingCalls();
  std::string points = kind;
  for (const Scenario& scenario : kScenarios) {
    points += std::string(" ") + scenario.name + "=" + std::to_string(Drive(scenario, countdown));
  }
  platform::calls = platform::kNativeCalls;
  std::printf("%s\n", points.c_str());
}

// Memory that zlib's state lacks is std::bad_alloc, never a member of zeros.
TEST(FaultInjection, InflaterOutOfMemoryThrows) {
  // Declaring a byte more than it holds, the member reaches zlib whatever
  // inflater comes first.
  ZipRecord record("m", "text", 8);
  record.uncompress_size = 5;
  ZipPtr zip = LoadBytes(ZipWriter().Add(record).bytes);
  ASSERT_TRUE(zip);
  fail_nothrow_new = true;
  EXPECT_THROW(delete zip->OpenInput("m"), std::bad_alloc);
  fail_nothrow_new = false;
  EXPECT_EQ(Contents(zip.get(), "m"), std::string("text\0", 5));
}

TEST(FaultInjection, EveryFailingPlatformCall) { DriveAll("calls:", calls); }
TEST(FaultInjection, EveryFailingAllocation) { DriveAll("allocations:", allocations); }
TEST(FaultInjection, EveryFailingArchiveStreamCall) { DriveAll("archive stream calls:", input_calls); }
TEST(FaultInjection, AnotherWriterBetweenAnyTwoCalls) { DriveAll("interference:", interference); }

}  // namespace
}  // namespace velm::io

// This program's allocator counts, so that the nth allocation can fail. The
// array forms of the runtime come here, and the aligned ones keep their own.
void* operator new(std::size_t size) {
  void* block = velm::io::allocations.Hit() ? nullptr : std::malloc(size == 0 ? 1 : size);
  return block ? block : throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (velm::io::fail_nothrow_new || velm::io::allocations.Hit()) return nullptr;
  return std::malloc(size == 0 ? 1 : size);
}
// Not inlined: the compiler would see free() meet a block of operator new.
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }
