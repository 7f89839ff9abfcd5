#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <velm/io/opener>

#include "support/test_support.h"
#include "support/zip_support.h"

namespace fs = std::filesystem;

namespace velm::io {
namespace {

using test::ReadFile;
using test::ZipPtr;
using Names = std::vector<std::string>;

// Made by make_fixtures.sh with Info-ZIP zip, Python's zipfile and jar, each
// written to a file so that sizes stand in the local headers.
TEST(ZipFixtures, ArchivesOfOtherToolsReadWhole) {
  const std::string fixtures = VELMIO_TEST_DATA_DIR "/zip/";
  const fs::path root = fs::u8path(fixtures + "input");
  std::map<std::string, std::string> inputs;
  for (const auto& item : fs::recursive_directory_iterator(root)) {
    if (!item.is_regular_file()) continue;
    inputs[item.path().lexically_relative(root).generic_u8string()] =
        ReadFile(item.path().u8string());
  }
  std::string expected;  // as Dump gives an archive of all of input/
  for (const auto& [name, bytes] : inputs) {
    expected += (expected.empty() ? "" : "|") + name + "=" + bytes;
  }
  ASSERT_EQ(inputs.size(), 5u);
  const int64_t made = test::LocalTime(2021, 6, 15, 12, 34, 56);

  for (const char* fixture : {"infozip-stored.zip", "infozip-deflated.zip",
                              "python.zip", "jar-stored.jar"}) {
    SCOPED_TRACE(fixture);
    test::LogCapture log;
    ZipPtr zip(LoadZip(fixtures + fixture));
    ASSERT_TRUE(zip);
    EXPECT_EQ(test::Dump(zip.get()), expected);
    Names docs;
    zip->List("docs", docs);
    EXPECT_EQ(docs, (Names{"docs/deep", "docs/empty.txt", "docs/readme.md"}));
    EXPECT_EQ(zip->GetModifiedTime("hello.txt"), made);
    EXPECT_TRUE(log.Errors().empty());
  }

  // jar deflates with sizes in a data descriptor (flag bit 3): the local
  // header says 0 and 0, so the first member is indexed empty, and its
  // deflate data, read as the next header, ends the walk.
  ZipPtr zip(LoadZip(fixtures + "jar-deflated.jar"));
  ASSERT_TRUE(zip);
  EXPECT_EQ(test::Dump(zip.get()), "hello.txt=");
}

// Every file of the shared corpus loads or is refused without harm, each
// member it lists opens and reads, and known members hold what they should.
TEST(ZipCorpus, EveryArchiveLoadsAndReads) {
  const fs::path corpus = fs::u8path(VELMIO_CORPUS_DIR);
  if (!fs::is_directory(corpus)) {
    GTEST_SKIP() << "no corpus folder at " << VELMIO_CORPUS_DIR;
  }
  test::LogCapture log;  // keeps expected inflate errors off the console
  int files = 0, loaded = 0, members = 0;
  std::vector<char> buffer(1 << 20);
  const int descriptors = test::CountOpenDescriptors();
  for (const auto& item : fs::recursive_directory_iterator(corpus)) {
    if (!item.is_regular_file()) continue;
    ++files;
    for (OpenerType type : {OpenerTypeCFile, OpenerTypeMMap}) {
      ZipPtr zip(LoadZip(item.path().u8string(), GetOpener(type)));
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
    }
  }
  EXPECT_EQ(test::CountOpenDescriptors(), descriptors);
  EXPECT_GT(files, 200);
  EXPECT_GT(loaded, 100);
  EXPECT_GT(members, 300);

  const std::string go = VELMIO_CORPUS_DIR "/go/";
  const std::string gopher = "gophercolor16x16.png=" +
                             ReadFile(go + "gophercolor16x16.png") +
                             "|test.txt=This is a test text file.\n";
  const std::string hello =
      "dir/bar=foo \r\n|hello=world \r\n|readonly=important \r\n";
  const std::pair<const char*, std::string> known[] = {
      {"test.zip", gopher},
      {"test-trailing-junk.zip", gopher},
      {"unix.zip", hello},
      {"winxp.zip", hello},
      {"crc32-not-streamed.zip", "bar.txt=bar\n|foo.txt=foo\n"}};
  for (const auto& [name, dump] : known) {
    ZipPtr zip(LoadZip(go + name));
    ASSERT_TRUE(zip) << name;
    EXPECT_TRUE(test::Dump(zip.get()) == dump) << name;
  }
  EXPECT_FALSE(ZipPtr(LoadZip(go + "readme.notzip")));
}

}  // namespace
}  // namespace velm::io
