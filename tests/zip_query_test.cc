#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

#include <velm/io/opener>

#include "platform/platform.h"
#include "support/memory_input.h"
#include "support/zip_writer.h"

namespace velm::io {
namespace {

using test::MemoryOpener;
using test::ZipPtr;
using test::ZipRecord;
using test::ZipWriter;
using Names = std::vector<std::string>;

class ZipQuery : public testing::Test {
 protected:
  void SetUp() override {
    ZipRecord dated;
    dated.name = "a/b.txt";
    dated.data = dated.content = "b";
    dated.dos_date = test::DosDate(2021, 6, 15);
    dated.dos_time = test::DosTime(12, 34, 56);
    ZipRecord undated;
    undated.name = "a.txt";
    undated.data = undated.content = "a";
    ZipRecord other_method;
    other_method.name = "ab.txt";
    other_method.method = 12;
    other_method.data = "bzip2 bytes";
    // Put out of order: the listing order comes from sorting.
    zip = test::LoadBytes(memory, ZipWriter()
                                      .Add(other_method)
                                      .Stored("a/c/d.txt", "d")
                                      .Add(dated)
                                      .Stored("a/", "")
                                      .Add(undated)
                                      .Stored("a/c/", "")
                                      .Stored("blank name", "")
                                      .bytes());
    ASSERT_TRUE(zip);
  }
  Names List(const std::string& path) {
    Names out{"kept"};
    zip->List(path, out);
    return out;
  }
  Names Files(const std::string& path, bool recursive) {
    Names out{"kept"};
    zip->ListFiles(path, recursive, out);
    return out;
  }

  MemoryOpener memory;
  ZipPtr zip;
};

TEST_F(ZipQuery, Listings) {
  EXPECT_EQ(List(""), (Names{"kept", "a.txt", "a", "ab.txt", "blank name"}));
  for (const char* path : {"a", "a/", "./a", "a\\c\\.."}) {
    EXPECT_EQ(List(path), (Names{"kept", "a/b.txt", "a/c"})) << path;
  }
  EXPECT_EQ(Files("", false), (Names{"kept", "a.txt", "ab.txt", "blank name"}));
  EXPECT_EQ(Files("", true), (Names{"kept", "a.txt", "a/b.txt", "a/c/d.txt",
                                    "ab.txt", "blank name"}));
  EXPECT_EQ(Files("a", false), (Names{"kept", "b.txt"}));
  EXPECT_EQ(Files("a", true), (Names{"kept", "b.txt", "c/d.txt"}));
  for (const char* refused : {"../x", "a b", "."}) {
    EXPECT_EQ(List(refused), Names{"kept"}) << refused;
    EXPECT_EQ(Files(refused, true), Names{"kept"}) << refused;
  }
  EXPECT_EQ(List("nothing"), Names{"kept"});
}

TEST_F(ZipQuery, FilesDirectoriesAndTimes) {
  EXPECT_FALSE(zip->IsFile("a"));
  EXPECT_TRUE(zip->IsDirectory("a"));
  EXPECT_TRUE(zip->IsFile("a/b.txt"));
  EXPECT_TRUE(zip->IsFile("/a//b.txt"));
  EXPECT_FALSE(zip->IsDirectory("a/b.txt"));
  EXPECT_TRUE(zip->IsDirectory(""));
  EXPECT_TRUE(zip->IsDirectory("a/c"));
  EXPECT_FALSE(zip->IsDirectory("."));
  EXPECT_FALSE(zip->IsDirectory("a/b"));
  // Listed, but unreachable through a standardised path.
  EXPECT_FALSE(zip->IsFile("blank name"));
  EXPECT_TRUE(zip->IsFile("ab.txt"));

  std::tm expected = {};
  expected.tm_year = 121;
  expected.tm_mon = 5;
  expected.tm_mday = 15;
  expected.tm_hour = 12;
  expected.tm_min = 34;
  expected.tm_sec = 56;
  EXPECT_EQ(zip->GetModifiedTime("a/b.txt"), platform::_mktime64(&expected));
  // A zero date is day 0 of month -1 of 1980: 30 November 1979.
  std::tm zero = {};
  zero.tm_year = 79;
  zero.tm_mon = 10;
  zero.tm_mday = 30;
  EXPECT_EQ(zip->GetModifiedTime("a.txt"), platform::_mktime64(&zero));
  EXPECT_EQ(zip->GetModifiedTime("a"), -1);
  EXPECT_EQ(zip->GetModifiedTime(""), -1);
  EXPECT_EQ(zip->GetModifiedTime("missing"), -1);
  EXPECT_EQ(zip->GetModifiedTime("a:b"), -1);
}

TEST_F(ZipQuery, ArchivesAreReadOnly) {
  EXPECT_EQ(zip->OpenOutput("a.txt"), nullptr);
  EXPECT_FALSE(zip->CreateDirectories("new"));
  EXPECT_FALSE(zip->RemoveFile("a.txt"));
  EXPECT_FALSE(zip->RemoveDirectory("a"));
  EXPECT_TRUE(zip->IsFile("a.txt"));
  EXPECT_TRUE(zip->IsReady());
  EXPECT_TRUE(zip->CheckReady());
  std::string out = "old";
  EXPECT_TRUE(zip->StandardizePath("", out));
  EXPECT_EQ(out, "");
  out = "old";
  EXPECT_FALSE(zip->StandardizePath("../x", out));
  EXPECT_EQ(out, "old");
}

}  // namespace
}  // namespace velm::io
