#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <velm/io/opener>

#include "platform/platform.h"
#include "support/memory_input.h"
#include "support/test_support.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

using test::LogCapture;
using test::MemoryOpener;
using test::ReadAll;
using test::ReadFile;
using test::ZipPtr;
using Names = std::vector<std::string>;

const std::string kFixtures = VELMIO_TEST_DATA_DIR "/zip/";

// What went into the archives: relative name to bytes.
std::map<std::string, std::string> Inputs() {
  std::map<std::string, std::string> inputs;
  const fs::path root = fs::u8path(kFixtures + "input");
  for (const auto& item : fs::recursive_directory_iterator(root)) {
    if (!item.is_regular_file()) continue;
    inputs[item.path().lexically_relative(root).generic_u8string()] =
        ReadFile(item.path().u8string());
  }
  return inputs;
}

ZipPtr LoadFixture(MemoryOpener& memory, const std::string& name) {
  return test::LoadBytes(memory, ReadFile(kFixtures + name), name);
}

// Made by make_fixtures.sh with Info-ZIP zip, Python's zipfile and jar,
// each written to a file so that sizes stand in the local headers.
TEST(ZipFixtures, ArchivesOfOtherToolsReadWhole) {
  const std::map<std::string, std::string> inputs = Inputs();
  ASSERT_EQ(inputs.size(), 5u);
  Names expected_files;
  for (const auto& [name, bytes] : inputs) expected_files.push_back(name);

  std::tm made = {};
  made.tm_year = 121;
  made.tm_mon = 5;
  made.tm_mday = 15;
  made.tm_hour = 12;
  made.tm_min = 34;
  made.tm_sec = 56;
  const int64_t made_time = platform::_mktime64(&made);

  for (const char* fixture : {"infozip-stored.zip", "infozip-deflated.zip",
                              "python.zip", "jar-stored.jar"}) {
    SCOPED_TRACE(fixture);
    MemoryOpener memory;
    LogCapture log;
    ZipPtr zip = LoadFixture(memory, fixture);
    ASSERT_TRUE(zip);
    Names files;
    zip->ListFiles("", true, files);
    EXPECT_EQ(files, expected_files);
    for (const auto& [name, bytes] : inputs) {
      std::unique_ptr<Input> input(zip->OpenInput(name));
      ASSERT_TRUE(input) << name;
      EXPECT_EQ(ReadAll(input.get()), bytes) << name;
    }
    EXPECT_TRUE(zip->IsDirectory("docs/deep"));
    Names docs;
    zip->List("docs", docs);
    EXPECT_EQ(docs, (Names{"docs/deep", "docs/empty.txt", "docs/readme.md"}));
    EXPECT_EQ(zip->GetModifiedTime("hello.txt"), made_time);
    EXPECT_TRUE(log.Errors().empty());
  }

  // jar deflates with sizes in a data descriptor (flag bit 3): the local
  // header says 0 and 0, so the first member is indexed empty, and its
  // deflate data, read as the next header, ends the walk.
  MemoryOpener memory;
  ZipPtr zip = LoadFixture(memory, "jar-deflated.jar");
  ASSERT_TRUE(zip);
  Names files;
  zip->ListFiles("", true, files);
  EXPECT_EQ(files, Names{"hello.txt"});
  std::unique_ptr<Input> input(zip->OpenInput("hello.txt"));
  ASSERT_TRUE(input);
  EXPECT_EQ(input->GetSize(), 0);
}

void ExpectMember(Opener* zip, const std::string& name,
                  const std::string& bytes) {
  std::unique_ptr<Input> input(zip->OpenInput(name));
  ASSERT_TRUE(input) << name;
  EXPECT_EQ(ReadAll(input.get()), bytes) << name;
}

// Every file of the shared corpus loads or is refused without harm, and each
// member it lists opens and reads.
TEST(ZipCorpus, EveryArchiveLoadsAndReads) {
  const fs::path corpus = fs::u8path(VELMIO_CORPUS_DIR);
  if (!fs::is_directory(corpus)) {
    GTEST_SKIP() << "no corpus folder at " << VELMIO_CORPUS_DIR;
  }
  LogCapture log;  // keeps expected inflate errors off the console
  int files = 0, loaded = 0, members = 0;
  std::vector<char> buffer(1 << 20);
  for (const auto& item : fs::recursive_directory_iterator(corpus)) {
    if (!item.is_regular_file()) continue;
    ++files;
    const std::string bytes = ReadFile(item.path().u8string());
    for (bool strict : {false, true}) {
      MemoryOpener memory;
      memory.strict_seek = strict;
      ZipPtr zip = test::LoadBytes(memory, bytes);
      if (!zip) continue;
      ++loaded;
      Names names;
      zip->ListFiles("", true, names);
      for (const std::string& name : names) {
        std::unique_ptr<Input> input(zip->OpenInput(name));
        if (!input) continue;
        ++members;
        // Some members declare 4 GiB; a few MiB from each end is plenty.
        for (int i = 0; i < 4 && input->Read(buffer.data(), buffer.size()) > 0;)
          ++i;
        input->Seek(-std::min<int64_t>(input->GetSize(), 1 << 20), 2);
        input->Read(buffer.data(), buffer.size());
        std::unique_ptr<Input> clone(input->Clone());
        if (clone) clone->Read(buffer.data(), 16);
      }
      zip.reset();
      EXPECT_EQ(memory.live_streams(), 0) << item.path();
    }
  }
  EXPECT_GT(files, 200);
  EXPECT_GT(loaded, 100);
  EXPECT_GT(members, 300);

  const std::string go = VELMIO_CORPUS_DIR "/go/";
  MemoryOpener memory;
  const std::string png = ReadFile(go + "gophercolor16x16.png");
  for (const char* name : {"test.zip", "test-trailing-junk.zip"}) {
    ZipPtr zip = test::LoadBytes(memory, ReadFile(go + name));
    ASSERT_TRUE(zip) << name;
    ExpectMember(zip.get(), "test.txt", "This is a test text file.\n");
    ExpectMember(zip.get(), "gophercolor16x16.png", png);
  }
  for (const char* name : {"unix.zip", "winxp.zip"}) {
    ZipPtr zip = test::LoadBytes(memory, ReadFile(go + name));
    ASSERT_TRUE(zip) << name;
    ExpectMember(zip.get(), "hello", "world \r\n");
    ExpectMember(zip.get(), "dir/bar", "foo \r\n");
    ExpectMember(zip.get(), "readonly", "important \r\n");
    EXPECT_TRUE(zip->IsDirectory("dir/empty"));
  }
  ZipPtr zip = test::LoadBytes(memory, ReadFile(go + "crc32-not-streamed.zip"));
  ASSERT_TRUE(zip);
  ExpectMember(zip.get(), "foo.txt", "foo\n");
  ExpectMember(zip.get(), "bar.txt", "bar\n");
  EXPECT_FALSE(test::LoadBytes(memory, ReadFile(go + "readme.notzip")));
}

}  // namespace
}  // namespace velm::io
