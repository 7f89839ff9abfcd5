// Loads an archive of arbitrary bytes through a host back-end and uses every
// member it lists: reads in odd chunk sizes, seeks of every kind, clones,
// listings, queries with hostile paths, and the member as an archive itself.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <velm/io/opener>
#include <velm/log/log>

#include "check.h"
#include "logical_path.h"
#include "memory_opener.h"

namespace {

using velm::io::Input;
using velm::io::Opener;

const char kArchiveName[] = "fuzz.zip";

// Members may declare 4 GiB: a member is read up to this many bytes from its
// start and as many again before its end.
constexpr int64_t kReadCap = 1 << 20;
constexpr size_t kChunks[] = {1, 7, 4093, 0, 65536, 3};
constexpr size_t kMaxMembers = 64;
constexpr size_t kMaxDirectories = 64;
constexpr size_t kHeadBytes = 4096;
// Declared bytes opened per input, so that inputs full of 4 GiB members do
// not spend the run in allocating them.
constexpr uint64_t kDeclaredBudget = uint64_t{1} << 32;
constexpr int64_t kNestedMax = 1 << 20;

// What one input has opened so far, by standardised name per archive.
struct Budget {
  uint64_t declared = 0;
};

struct Archive {
  Opener& zip;
  Budget& budget;
  std::set<std::string> opened;
  std::vector<std::string> nestable;
};

// Reads from the position to the end or to `cap` bytes, in odd chunk sizes;
// keeps the first kHeadBytes in `head`. Gives the count read.
int64_t ReadOn(Input& input, int64_t cap, std::string* head) {
  static char buffer[65536];
  int64_t total = 0;
  const int64_t start = input.Tell();
  for (size_t turn = 0; total < cap; ++turn) {
    const size_t want =
        static_cast<size_t>(std::min<int64_t>(kChunks[turn % std::size(kChunks)], cap - total));
    const int64_t got = input.Read(buffer, want);
    FUZZ_CHECK(got >= 0 && static_cast<uint64_t>(got) <= want);
    if (got == 0 && want > 0) break;  // the end, or a truncated archive
    if (head && head->size() < kHeadBytes)
      head->append(buffer, std::min<size_t>(got, kHeadBytes - head->size()));
    total += got;
    FUZZ_CHECK(input.Tell() == start + total);
  }
  return total;
}

// A refused seek leaves the position; an accepted one lands where asked.
void SeekTo(Input& input, int64_t offset, int32_t whence, int64_t expected) {
  const int64_t before = input.Tell();
  const int32_t result = input.Seek(offset, whence);
  FUZZ_CHECK(result == 0 || result == -1);
  FUZZ_CHECK(input.Tell() == (result == 0 ? expected : before));
}

void Refused(Input& input, int64_t offset, int32_t whence) {
  const int64_t before = input.Tell();
  FUZZ_CHECK(input.Seek(offset, whence) == -1);
  FUZZ_CHECK(input.Tell() == before);
}

void CheckSeeks(Input& input, const std::string& head) {
  const int64_t size = input.GetSize();
  constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
  constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
  SeekTo(input, 0, 0, 0);
  SeekTo(input, size, 0, size);
  SeekTo(input, 0, 2, size);
  SeekTo(input, -size, 2, 0);
  SeekTo(input, size / 2, 0, size / 2);
  SeekTo(input, -1, 1, size / 2 - 1);
  Refused(input, -1, 0);
  Refused(input, size + 1, 0);
  Refused(input, 1, 2);
  Refused(input, -size - 1, 2);
  Refused(input, kMax, 1);
  Refused(input, kMin, 1);
  Refused(input, kMin, 2);
  Refused(input, kMax, 0);
  for (int32_t whence : {3, -1, 7, std::numeric_limits<int32_t>::min()}) Refused(input, 0, whence);

  // Bytes read after a seek are the bytes at that place.
  const int64_t middle = static_cast<int64_t>(head.size()) / 3;
  if (input.Seek(middle, 0) == 0) {
    std::string again;
    ReadOn(input, static_cast<int64_t>(head.size()) - middle, &again);
    FUZZ_CHECK(again == head.substr(middle, again.size()));
  }
}

void CheckClosed(Input& input) {
  input.Close();
  char byte;
  FUZZ_CHECK(input.IsClosed());
  FUZZ_CHECK(input.Read(&byte, 1) == 0);
  FUZZ_CHECK(input.Tell() == 0);
  FUZZ_CHECK(input.IsEOF());
  FUZZ_CHECK(input.Seek(0, 0) == -1);
  FUZZ_CHECK(std::unique_ptr<Input>(input.Clone()) == nullptr);
  input.Close();
}

void ReadMember(Opener& zip, Input& input, const std::string& path) {
  FUZZ_CHECK(input.GetPath() == path);
  FUZZ_CHECK(input.GetOpener() == &zip);
  FUZZ_CHECK(!input.IsClosed() && input.Tell() == 0);
  const int64_t size = input.GetSize();
  FUZZ_CHECK(size >= 0);
  int descriptor = 0;
  int64_t offset = 0;
  // The host's streams have no descriptor, so neither have the members.
  FUZZ_CHECK(!input.GetDescriptor(&descriptor, &offset));

  std::string head;
  const int64_t read = ReadOn(input, kReadCap, &head);
  FUZZ_CHECK(read <= size);
  if (read == size) FUZZ_CHECK(input.IsEOF());
  if (size - read > kReadCap && input.Seek(-kReadCap, 2) == 0) {
    FUZZ_CHECK(input.Tell() == size - kReadCap);
    ReadOn(input, kReadCap, nullptr);
  }
  CheckSeeks(input, head);

  std::unique_ptr<Input> clone(input.Clone());
  if (clone) {
    FUZZ_CHECK(clone->Tell() == 0);
    input.Close();
    std::string clone_head;
    ReadOn(*clone, static_cast<int64_t>(head.size()), &clone_head);
    FUZZ_CHECK(clone_head == head);
    CheckClosed(*clone);
  }
  CheckClosed(input);
}

// Every query with `path`; opens and reads it where it is a member not
// opened before.
void Query(Archive& archive, const std::string& path) {
  Opener& zip = archive.zip;
  const std::string previous = "\x01previous";
  std::string standard = previous;
  const bool valid = zip.StandardizePath(path, standard);
  if (valid) {
    fuzz::CheckLogicalPath(standard);
  } else {
    FUZZ_CHECK(standard == previous);
  }
  const bool is_file = zip.IsFile(path);
  const bool is_directory = zip.IsDirectory(path);
  const int64_t time = zip.GetModifiedTime(path);
  if (!valid) FUZZ_CHECK(!is_file && !is_directory && time == -1);
  if (valid && standard.empty()) FUZZ_CHECK(is_directory);

  std::vector<std::string> listed = {previous};
  zip.List(path, listed);
  zip.ListFiles(path, false, listed);
  zip.ListFiles(path, true, listed);
  FUZZ_CHECK(listed.front() == previous);
  if (!valid) FUZZ_CHECK(listed.size() == 1);

  FUZZ_CHECK(zip.OpenOutput(path) == nullptr);
  FUZZ_CHECK(!zip.CreateDirectories(path) && !zip.RemoveFile(path) && !zip.RemoveDirectory(path));

  if (!valid) {
    FUZZ_CHECK(std::unique_ptr<Input>(zip.OpenInput(path)) == nullptr);
    return;
  }
  if (archive.opened.count(standard) != 0 || archive.budget.declared >= kDeclaredBudget) return;
  archive.opened.insert(standard);
  std::unique_ptr<Input> input(zip.OpenInput(path));
  if (input) {
    FUZZ_CHECK(is_file && !standard.empty());
    archive.budget.declared += static_cast<uint64_t>(input->GetSize());
    if (input->GetSize() <= kNestedMax) archive.nestable.push_back(standard);
    ReadMember(zip, *input, standard);
  }
}

// Paths no archive may let through, and odd spellings of real names. Paths
// longer than any name (65,535 bytes) cost more than the rest of a run, so
// only one input in 16 tries them.
std::vector<std::string> HostilePaths(const std::vector<std::string>& names, bool long_paths) {
  std::vector<std::string> paths = {"",
                                    "/",
                                    "//",
                                    ".",
                                    "..",
                                    "./",
                                    "../x",
                                    "./..",
                                    "a/../..",
                                    "a\\b",
                                    "\\",
                                    "C:/x",
                                    "fuzz.zip://x",
                                    "a b",
                                    "\t",
                                    std::string("a\0b", 3),
                                    std::string(1, '\0'),
                                    "\xff\xfe"};
  if (long_paths) {
    paths.push_back(std::string(65537, 'a'));
    std::string deep;
    for (int i = 0; i < 2000; ++i) deep += "a/";
    paths.push_back(deep + "..");
    std::string climb;
    for (int i = 0; i < 1000; ++i) climb += "../";
    paths.push_back(climb + "x");
  }
  for (size_t i = 0; i < names.size() && i < 4; ++i) {
    const std::string& name = names[i];
    std::string backslashes = name;
    std::replace(backslashes.begin(), backslashes.end(), '/', '\\');
    paths.insert(paths.end(),
                 {name + "/", "/" + name, name + "/..", "../" + name, name + "/.", backslashes});
  }
  return paths;
}

void Exercise(Opener& zip, Budget& budget, int depth, bool long_paths);

// A member is an archive of its own when it holds local headers.
void LoadNested(Opener& zip, Budget& budget, const std::string& name) {
  Opener* inner = velm::io::LoadZip(name, &zip);
  if (!inner) return;
  FUZZ_CHECK(inner->GetRoot() == name + "://");
  Exercise(*inner, budget, 1, false);
  velm::io::UnloadZip(inner);
}

void Exercise(Opener& zip, Budget& budget, int depth, bool long_paths) {
  Archive archive{zip, budget, {}, {}};
  FUZZ_CHECK(zip.GetType() == velm::io::OpenerTypeZip);
  FUZZ_CHECK(zip.GetName() == "zip");

  std::vector<std::string> members;
  zip.ListFiles("", true, members);
  for (const std::string& name : members) FUZZ_CHECK(name.empty() || name.back() != '/');

  // The tree as List shows it, directory by directory.
  std::deque<std::string> directories = {""};
  for (size_t visited = 0; !directories.empty() && visited < kMaxDirectories; ++visited) {
    std::vector<std::string> children;
    zip.List(directories.front(), children);
    directories.pop_front();
    for (const std::string& child : children) {
      if (zip.IsDirectory(child)) {
        directories.push_back(child);
      } else {
        members.push_back(child);
      }
    }
  }

  if (members.size() > kMaxMembers) members.resize(kMaxMembers);
  for (const std::string& name : members) Query(archive, name);
  if (depth == 0) {
    for (const std::string& path : HostilePaths(members, long_paths)) Query(archive, path);
    for (size_t i = 0; i < archive.nestable.size() && i < 2; ++i)
      LoadNested(zip, budget, archive.nestable[i]);
  }
}

void Drop(void*, unsigned int, int, bool, const char*) {}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool kQuiet = (velm::log::SetSink(Drop, nullptr), true);
  (void)kQuiet;
  // Odd sizes are read as the mapped back-end would, even ones as the others.
  // One size in three claims 4 GiB, as a stream that cannot know its size
  // might: memory must follow the bytes that come.
  fuzz::MemoryOpener host(kArchiveName, std::string(reinterpret_cast<const char*>(data), size),
                          size % 2 == 0, size % 3 == 0 ? int64_t{1} << 32 : -1);
  FUZZ_CHECK(velm::io::LoadZip("../fuzz.zip", &host) == nullptr);
  FUZZ_CHECK(velm::io::LoadZip("missing.zip", &host) == nullptr);
  Opener* zip = velm::io::LoadZip(kArchiveName, &host);
  if (!zip) return 0;
  FUZZ_CHECK(zip->GetRoot() == std::string(kArchiveName) + "://");
  Budget budget;
  Exercise(*zip, budget, 0, size % 16 == 0);
  velm::io::UnloadZip(zip);
  return 0;
}
