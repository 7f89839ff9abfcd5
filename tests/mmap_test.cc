// The table of mapped files, by what its users can see.
#include <fstream>

#include "mmap/mapped_file_cache.h"
#include "support/support.h"

namespace velm::io {
namespace {

using namespace test;

Opener* MMap() { return GetOpener(OpenerTypeMMap); }

// Maps and drops that many files of dir, which leaves their entries expired;
// returns the size of the table.
size_t TableSize(const TempDir* dir = nullptr, int expired = 0) {
  for (int i = 0; i < expired; ++i) {
    const std::string file = dir->Join("expired-" + std::to_string(i));
    WriteFile(file, "x");
    EXPECT_TRUE(std::unique_ptr<Input>(MMap()->OpenInput(file))) << file;
  }
  return MappedFiles().EntryCount();
}

// A mapped file can grow, never shrink, on Windows.
void Append(const std::string& path) { std::ofstream(fs::u8path(path), std::ios::app) << "more"; }

class MMapCache : public testing::Test {
 protected:
  void SetUp() override { TearDown(); }
  void TearDown() override { MappedFiles().Clear(); }
  TempDir dir;
  const std::string path = (WriteFile(dir.Join("f"), "0123456789"), dir.Join("f"));
};

// While an input lives its path reuses its view, unchecked; each spelling of
// a path is a key of its own. Expired entries are swept by an open that finds
// more than 1000 entries; live ones never are.
TEST_F(MMapCache, ExpiredEntriesAreSweptLiveOnesKept) {
  WriteFile(dir.Join("g"), "abc");
  std::unique_ptr<Input> live(MMap()->OpenInput(path)), other(MMap()->OpenInput(dir.Join(".") + kSep + "f"));
  EXPECT_EQ(Mappings(path), OnWindows() ? -1 : 2);
  other.reset();
  ASSERT_EQ(TableSize(&dir, 998), 1000u);  // the other spelling expired too
  Append(path);
  std::unique_ptr<Input> fresh(MMap()->OpenInput(dir.Join("g")));
  EXPECT_EQ(TableSize(), 1001u) << "no sweep at exactly 1000 entries";
  std::unique_ptr<Input> again(MMap()->OpenInput(path));
  ASSERT_TRUE(live && fresh && again);
  EXPECT_EQ(again->GetSize(), 10) << "the live view was kept";
  EXPECT_EQ(TableSize(), 2u);
}

TEST_F(MMapCache, FailuresAreLoggedAndLeaveNoEntry) {
  WriteFile(dir.Join("empty"), "");
  LogChannel = 7;
  for (const std::string& bad : {dir.Join("empty"), dir.Join("missing"), std::string(), dir.path}) {
    for (int attempt = 0; attempt < 2; ++attempt) {
      LogCapture log;
      EXPECT_EQ(MMap()->OpenInput(bad), nullptr) << bad;
      ASSERT_EQ(log.lines.size(), 1u) << bad;
      EXPECT_TRUE(log.lines[0].is_error && log.lines[0].channel == 7u);
      EXPECT_EQ(log.lines[0].message, "Failed to open mmap file " + bad);
      EXPECT_EQ(TableSize(), 0u) << bad;
    }
  }
  LogChannel = 0;
  // Windows maps only a file that nobody holds open.
  std::unique_ptr<Input> holder(GetOpener(OpenerTypeCFile)->OpenInput(path));
  EXPECT_EQ(std::unique_ptr<Input>(MMap()->OpenInput(path)) == nullptr, OnWindows());
}

}  // namespace
}  // namespace velm::io
