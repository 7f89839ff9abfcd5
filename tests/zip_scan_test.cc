#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <velm/io/opener>

#include "support/memory_input.h"
#include "support/test_support.h"
#include "support/zip_writer.h"

namespace velm::io {
namespace {

using test::LoadBytes;
using test::LogCapture;
using test::MemoryOpener;
using test::ReadAll;
using test::ZipPtr;
using test::ZipRecord;
using test::ZipWriter;
using Names = std::vector<std::string>;

Names List(Opener* zip, const std::string& path) {
  Names out;
  zip->List(path, out);
  return out;
}

Names AllFiles(Opener* zip) {
  Names out;
  zip->ListFiles("", true, out);
  return out;
}

std::string Contents(Opener* zip, const std::string& path) {
  std::unique_ptr<Input> input(zip->OpenInput(path));
  return input ? ReadAll(input.get()) : "<no stream>";
}

TEST(ZipScan, ParentsDuplicatesAndOddNames) {
  ZipRecord nul_name;
  nul_name.name = std::string("n\0junk", 6);
  nul_name.data = nul_name.content = "cut";
  ZipRecord empty_name;
  empty_name.data = empty_name.content = "nameless";
  ZipWriter writer;
  writer.Stored("a/b/c.txt", "first")
      .Deflated("a/b/d.txt", "second")
      .Stored("a/b/c.txt", "stale")
      .Stored("x/y/", "")
      .Stored("/p/q", "rooted")
      .Stored("m//n", "double")
      .Stored("k\\l", "backslash")
      .Stored("a/", "")
      .Add(nul_name)
      .Add(empty_name)
      .Finish();
  MemoryOpener memory;
  LogCapture log;
  ZipPtr zip = LoadBytes(memory, writer.bytes());
  ASSERT_TRUE(zip);

  // One line per record, the stale duplicate too, none for parents.
  ASSERT_EQ(log.lines().size(), 10u);
  EXPECT_EQ(log.lines()[0].level, -1);
  EXPECT_FALSE(log.lines()[0].is_error);
  EXPECT_EQ(log.lines()[0].message,
            "Find zipped file a/b/c.txt, compress_method 0, compress_size 5, "
            "uncompress_size 5, flags 0, offset " +
                std::to_string(writer.data_offsets()[0]));
  EXPECT_EQ(log.lines()[2].message.rfind("Find zipped file a/b/c.txt,", 0), 0u);

  EXPECT_EQ(Contents(zip.get(), "a/b/c.txt"), "first");
  EXPECT_EQ(Contents(zip.get(), "n"), "cut");
  // The nameless entry is the root's own and never listed; "/p/" gives no
  // "/" entry, which List would show as "".
  EXPECT_EQ(AllFiles(zip.get()),
            (Names{"/p/q", "a/b/c.txt", "a/b/d.txt", "k\\l", "m//n", "n"}));
  EXPECT_EQ(List(zip.get(), ""), (Names{"a", "k\\l", "m", "n"}));
  EXPECT_EQ(List(zip.get(), "a"), (Names{"a/b"}));
  EXPECT_EQ(List(zip.get(), "m"), (Names{"m/"}));
  // x/y/ made no parent x/, yet x is a directory by prefix, though not
  // listed at the root.
  EXPECT_TRUE(zip->IsDirectory("x"));
  EXPECT_EQ(List(zip.get(), "x"), (Names{"x/y"}));
  EXPECT_TRUE(zip->IsFile(""));
  EXPECT_EQ(zip->OpenInput(""), nullptr);
  // No standardised path reaches these names.
  EXPECT_FALSE(zip->IsFile("k\\l"));
  EXPECT_FALSE(zip->IsFile("/p/q"));
  EXPECT_EQ(zip->GetRoot(), "archive.zip://");
  EXPECT_EQ(zip->GetName(), "zip");
  EXPECT_EQ(zip->GetType(), OpenerTypeZip);
}

TEST(ZipScan, WalkEndsAtTheFirstThingThatIsNoRecord) {
  MemoryOpener memory;
  ZipRecord streamed;
  streamed.name = "streamed";
  streamed.flags = 8;
  streamed.method = 8;
  streamed.data = test::RawDeflate("streamed content");
  streamed.compress_size = 0;
  streamed.uncompress_size = 0;
  streamed.crc32 = 0;
  ZipPtr zip = LoadBytes(memory, ZipWriter()
                                     .Stored("before", "b")
                                     .Add(streamed)
                                     .Bytes("PK\x07\x08 descriptor")
                                     .Stored("behind", "lost")
                                     .bytes());
  ASSERT_TRUE(zip);
  // Sizes of zero: the deflate data is read as the next header.
  EXPECT_EQ(AllFiles(zip.get()), (Names{"before", "streamed"}));
  std::unique_ptr<Input> input(zip->OpenInput("streamed"));
  ASSERT_TRUE(input);
  EXPECT_EQ(input->GetSize(), 0);

  zip = LoadBytes(memory, ZipWriter()
                              .Stored("good", "kept")
                              .Bytes("PK\x07\x08" + std::string(12, 'd'))
                              .Stored("behind", "lost")
                              .bytes());
  ASSERT_TRUE(zip);
  EXPECT_EQ(AllFiles(zip.get()), (Names{"good"}));

  zip = LoadBytes(memory, ZipWriter()
                              .Deflated("good", "kept")
                              .Bytes(std::string(100, '\x5a'))
                              .bytes());
  ASSERT_TRUE(zip);
  EXPECT_EQ(Contents(zip.get(), "good"), "kept");
}

TEST(ZipScan, FilesWithoutALeadingRecordLoadNothingSilently) {
  std::string archive = ZipWriter().Stored("a", "b").bytes();
  std::string end_only = ZipWriter().Finish().bytes();
  MemoryOpener memory;
  LogCapture log;
  for (const std::string& bytes :
       {std::string(), std::string("not a zip at all, just text\n"), end_only,
        "MZ stub" + archive, std::string("PK\x07\x08") + archive,
        std::string(29, '\0')}) {
    EXPECT_FALSE(LoadBytes(memory, bytes)) << bytes.size();
  }
  EXPECT_TRUE(log.Errors().empty());
  EXPECT_EQ(memory.live_streams(), 0);
}

TEST(ZipScan, NameRunningPastTheEndLeavesNoEntry) {
  ZipRecord runaway;
  runaway.name = "short";
  runaway.name_length = 1000;
  MemoryOpener memory;
  EXPECT_FALSE(LoadBytes(memory, ZipWriter().Add(runaway).bytes()));
  ZipPtr zip =
      LoadBytes(memory, ZipWriter().Stored("ok", "1").Add(runaway).bytes());
  ASSERT_TRUE(zip);
  EXPECT_EQ(AllFiles(zip.get()), (Names{"ok"}));
}

TEST(ZipScan, SizesOfAllOnesAreTakenAsTheyStand) {
  const std::string content = "zip64 style member";
  ZipRecord stored;
  stored.name = "big";
  stored.data = content;
  stored.compress_size = 0xFFFFFFFF;
  stored.uncompress_size = 0xFFFFFFFF;
  ZipRecord deflated;
  deflated.name = "deflated";
  deflated.method = 8;
  deflated.data = test::RawDeflate(content);
  deflated.content = content;
  deflated.compress_size = 0xFFFFFFFF;
  const std::string archive =
      ZipWriter().Stored("first", "1").Add(deflated).Add(stored).bytes();

  MemoryOpener memory;
  LogCapture log;
  ZipPtr zip = LoadBytes(memory, archive);
  ASSERT_TRUE(zip);
  EXPECT_NE(log.lines()[1].message.find("compress_size -1,"),
            std::string::npos);
  // The seek over the data runs beyond the end: the walk stops behind the
  // deflated record, which the descriptor and stdio back-ends keep.
  EXPECT_EQ(AllFiles(zip.get()), (Names{"deflated", "first"}));
  // Inflation ends with the bytes the archive really holds.
  EXPECT_EQ(Contents(zip.get(), "deflated"), content);

  memory.strict_seek = true;
  zip = LoadBytes(memory, archive);
  ASSERT_TRUE(zip);
  EXPECT_EQ(AllFiles(zip.get()), (Names{"first"}));

  memory.strict_seek = false;
  zip = LoadBytes(memory, ZipWriter().Add(stored).bytes());
  ASSERT_TRUE(zip);
  std::unique_ptr<Input> input(zip->OpenInput("big"));
  ASSERT_TRUE(input);
  EXPECT_EQ(input->GetSize(), 0xFFFFFFFFll);
  EXPECT_EQ(ReadAll(input.get()), content);
}

// Every prefix of a small archive loads the records that it holds whole,
// and every member that is listed opens and reads without harm.
TEST(ZipScan, TruncatedAtEveryOffset) {
  ZipRecord with_extra;
  with_extra.name = "extra.txt";
  with_extra.extra = std::string(9, 'x');
  with_extra.data = with_extra.content = "behind an extra field";
  ZipWriter writer;
  writer.Stored("dir/stored.txt", "stored bytes here")
      .Deflated("dir/deflated.txt", std::string(300, 'q') + "tail")
      .Add(with_extra)
      .Finish();
  const std::string archive = writer.bytes();
  struct Member {
    std::string name;
    size_t header;  // where the record starts
    size_t data_end;
  };
  const std::vector<std::string> names = {"dir/stored.txt", "dir/deflated.txt",
                                          "extra.txt"};
  const std::vector<size_t> extra_sizes = {0, 0, 9};
  std::vector<Member> members;
  for (size_t i = 0; i < names.size(); ++i) {
    size_t header =
        writer.data_offsets()[i] - 30 - names[i].size() - extra_sizes[i];
    if (i > 0) members.back().data_end = header;
    members.push_back({names[i], header, archive.find("PK\x01\x02")});
  }
  MemoryOpener memory;
  LogCapture log;
  for (bool strict : {false, true}) {
    memory.strict_seek = strict;
    for (size_t length = 0; length <= archive.size(); ++length) {
      ZipPtr zip = LoadBytes(memory, archive.substr(0, length));
      size_t expected = 0;
      for (const Member& m : members) {
        size_t needed = strict ? m.data_end : m.header + 30 + m.name.size();
        if (length >= needed) ++expected;
      }
      SCOPED_TRACE(testing::Message() << "length " << length << " strict "
                                      << strict);
      ASSERT_EQ(zip != nullptr, expected > 0);
      if (!zip) continue;
      Names files = AllFiles(zip.get());
      ASSERT_EQ(files.size(), expected);
      for (const std::string& name : files) {
        std::unique_ptr<Input> input(zip->OpenInput(name));
        if (input) ReadAll(input.get());
      }
      if (length == archive.size()) {
        EXPECT_EQ(Contents(zip.get(), "extra.txt"), "behind an extra field");
      }
    }
  }
  EXPECT_EQ(memory.live_streams(), 0);
}

TEST(LoadZip, MessagesAndOwnership) {
  MemoryOpener memory;
  LogCapture log;
  EXPECT_EQ(LoadZip("missing.zip", &memory), nullptr);
  EXPECT_EQ(LoadZip("bad|path", &memory), nullptr);
  EXPECT_EQ(log.Errors(), (Names{"LoadZip: Open falied for missing.zip",
                                 "LoadZip: Invalid zip path format: bad|path"}));
  UnloadZip(nullptr);

  const std::string inner = ZipWriter()
                                .Stored("s.txt", "inner stored")
                                .Deflated("d.txt", "inner deflated")
                                .Finish()
                                .bytes();
  const std::string bare = ZipWriter().Stored("1", "a").Stored("2", "b").bytes();
  memory.Put("outer.zip", ZipWriter()
                              .Stored("in/stored.zip", inner)
                              .Deflated("in/deflated.zip", inner)
                              .Deflated("bare.zip", bare)
                              .bytes());
  Opener* outer = LoadZip("outer.zip", &memory);
  ASSERT_NE(outer, nullptr);
  for (const char* path : {"./in/stored.zip", "in\\deflated.zip"}) {
    Opener* nested = LoadZip(path, outer);
    ASSERT_NE(nested, nullptr) << path;
    std::string standard;
    outer->StandardizePath(path, standard);
    EXPECT_EQ(nested->GetRoot(), standard + "://");
    EXPECT_EQ(Contents(nested, "s.txt"), "inner stored");
    EXPECT_EQ(Contents(nested, "d.txt"), "inner deflated");
    UnloadZip(nested);
  }
  // A deflated stream refuses a relative seek onto its very end, so the
  // last record of an archive with nothing behind it is lost there.
  Opener* nested = LoadZip("bare.zip", outer);
  ASSERT_NE(nested, nullptr);
  EXPECT_EQ(AllFiles(nested), (Names{"1"}));
  UnloadZip(nested);

  // Streams outlive the archive they came from.
  std::unique_ptr<Input> stored(outer->OpenInput("in/stored.zip"));
  std::unique_ptr<Input> deflated(outer->OpenInput("in/deflated.zip"));
  ASSERT_TRUE(stored && deflated);
  UnloadZip(outer);
  EXPECT_EQ(ReadAll(stored.get()), inner);
  EXPECT_EQ(ReadAll(deflated.get()), inner);
  stored.reset();
  deflated.reset();
  EXPECT_EQ(memory.live_streams(), 0);
  EXPECT_EQ(log.Errors().size(), 2u);
}

}  // namespace
}  // namespace velm::io
