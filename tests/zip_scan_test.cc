#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <velm/io/opener>

#include "support/test_support.h"
#include "support/zip_support.h"

namespace velm::io {
namespace {

using test::Dump;
using test::LoadBytes;
using test::LogCapture;
using test::ZipPtr;
using test::ZipRecord;
using test::ZipWriter;
using Names = std::vector<std::string>;

// One answer as text; a listing is joined by "|" behind what out held.
std::string Ask(Opener* zip, char op, const std::string& path) {
  Names out{"kept"};
  switch (op) {
    case 'L': zip->List(path, out); break;
    case 'F': zip->ListFiles(path, false, out); break;
    case 'R': zip->ListFiles(path, true, out); break;
    case 'f': return zip->IsFile(path) ? "yes" : "no";
    case 'd': return zip->IsDirectory(path) ? "yes" : "no";
    case 't': return std::to_string(zip->GetModifiedTime(path));
  }
  std::string joined;
  for (const std::string& name : out) {
    joined += (joined.empty() ? "" : "|") + name;
  }
  return joined;
}

TEST(ZipScan, ParentsDuplicatesAndOddNames) {
  ZipWriter writer;
  writer.Stored("a/b/c.txt", "first")
      .Deflated("a/b/d.txt", "second")
      .Stored("a/b/c.txt", "stale")
      .Stored("x/y/", "")
      .Stored("/p/q", "rooted")
      .Stored("m//n", "double")
      .Stored("k\\l", "backslash")
      .Stored("a/", "")
      .Stored(std::string("n\0junk", 6), "cut")
      .Stored("", "nameless")
      .Finish();
  LogCapture log;
  ZipPtr zip = LoadBytes(writer.bytes());
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

  // The first record of a name wins. Names with a leading "/", a "//" or a
  // backslash are listed, but no standardised path reaches them. The
  // nameless entry is the root's own: never listed, never opened. x/y/ made
  // no parent x/, so x is a directory by prefix only.
  EXPECT_EQ(Dump(zip.get()),
            "/p/q=<none>|a/b/c.txt=first|a/b/d.txt=second|k\\l=<none>|"
            "m//n=<none>|n=cut");
  EXPECT_EQ(Ask(zip.get(), 'L', ""), "kept|a|k\\l|m|n");
  EXPECT_EQ(Ask(zip.get(), 'L', "a"), "kept|a/b");
  EXPECT_EQ(Ask(zip.get(), 'L', "m"), "kept|m/");
  EXPECT_EQ(Ask(zip.get(), 'L', "x"), "kept|x/y");
  EXPECT_EQ(Ask(zip.get(), 'd', "x"), "yes");
  EXPECT_EQ(Ask(zip.get(), 'f', ""), "yes");
  EXPECT_EQ(zip->OpenInput(""), nullptr);
}

// What loads is the run of whole local records from offset 0; "" stands for
// a file that does not load.
TEST(ZipScan, WalkEndsAtTheFirstThingThatIsNoRecord) {
  const std::string archive = ZipWriter().Stored("a", "b").bytes();
  ZipRecord streamed("streamed", "streamed content", 8);
  streamed.flags = 8;  // sizes in a data descriptor, zero in the header
  streamed.compress_size = streamed.uncompress_size = 0;
  ZipRecord runaway("short", "");
  runaway.name_length = 1000;
  const std::string content = "zip64 style member";
  ZipRecord big("big", content);
  big.compress_size = big.uncompress_size = 0xFFFFFFFF;
  ZipRecord deflated("deflated", content, 8);
  deflated.compress_size = 0xFFFFFFFF;
  const std::string all_ones =
      ZipWriter().Stored("first", "1").Add(deflated).Add(big).bytes();
  const std::string descriptor = "PK\x07\x08" + std::string(12, 'd');
  const std::string behind = ZipWriter().Stored("behind", "lost").bytes();

  const struct {
    std::string bytes, dump;
    OpenerType type = OpenerTypeCFile;
  } cases[] = {
      {"", ""},
      {"not a zip at all, just text\n", ""},
      {ZipWriter().Finish().bytes(), ""},
      {"MZ stub" + archive, ""},
      {"PK\x07\x08" + archive, ""},
      {std::string(29, '\0'), ""},
      {ZipWriter().Add(runaway).bytes(), ""},
      {archive + ZipWriter().Add(runaway).bytes(), "a=b"},
      // The deflate data is read as the next header.
      {ZipWriter().Stored("b", "1").Add(streamed).bytes() + descriptor + behind,
       "b=1|streamed="},
      {archive + descriptor + behind, "a=b"},
      {ZipWriter().Deflated("g", "kept").bytes() + std::string(99, 'Z'),
       "g=kept"},
      // The seek over 4 GiB of data ends the walk behind the deflated record
      // where seeks past the end are allowed, before it where not.
      // Inflation ends with the bytes the archive holds.
      {all_ones, "deflated=" + content + "|first=1"},
      {all_ones, "first=1", OpenerTypeMMap},
      {ZipWriter().Add(big).bytes(), "big=" + content}};
  const int descriptors = test::CountOpenDescriptors();
  LogCapture log;
  for (const auto& c : cases) {
    ZipPtr zip = LoadBytes(c.bytes, c.type);
    EXPECT_EQ(zip ? Dump(zip.get()) : "", c.dump) << &c - cases;
  }
  EXPECT_TRUE(log.Errors().empty());
  EXPECT_EQ(log.lines().back().message,
            "Find zipped file big, compress_method 0, compress_size -1, "
            "uncompress_size -1, flags 0, offset 33");
  ZipPtr zip = LoadBytes(ZipWriter().Add(big).bytes());
  EXPECT_EQ(std::unique_ptr<Input>(zip->OpenInput("big"))->GetSize(),
            0xFFFFFFFFll);
  zip.reset();
  EXPECT_EQ(test::CountOpenDescriptors(), descriptors);
}

// Every prefix of an archive loads the records it holds whole, and every
// member listed reads without harm.
TEST(ZipScan, TruncatedAtEveryOffset) {
  ZipRecord with_extra("extra.txt", "behind an extra field");
  with_extra.extra = std::string(9, 'x');
  ZipWriter writer;
  writer.Stored("dir/stored.txt", "stored bytes here")
      .Deflated("dir/deflated.txt", std::string(300, 'q') + "tail")
      .Add(with_extra)
      .Finish();
  const std::string archive = writer.bytes();
  const std::vector<uint32_t>& headers = writer.header_offsets();
  const size_t name_sizes[] = {14, 16, 9};
  LogCapture log;
  for (OpenerType type : {OpenerTypeCFile, OpenerTypeMMap}) {
    for (size_t length = 0; length <= archive.size(); ++length) {
      // Where seeks past the end are allowed, a record is indexed once its
      // name is in; elsewhere once its data is whole.
      size_t expected = 0;
      for (size_t i = 0; i < 3; ++i) {
        size_t end = i < 2 ? headers[i + 1] : archive.find("PK\x01\x02");
        size_t lax = headers[i] + 30 + name_sizes[i];
        expected += length >= (type == OpenerTypeMMap ? end : lax);
      }
      SCOPED_TRACE(testing::Message() << "length " << length << " type "
                                      << type);
      ZipPtr zip = LoadBytes(archive.substr(0, length), type);
      ASSERT_EQ(zip != nullptr, expected > 0);
      if (!zip) continue;
      Names files;
      zip->ListFiles("", true, files);
      ASSERT_EQ(files.size(), expected);
      Dump(zip.get());
    }
  }
  EXPECT_EQ(test::Contents(LoadBytes(archive).get(), "extra.txt"),
            "behind an extra field");
}

TEST(LoadZip, MessagesAndOwnership) {
  const std::string inner = ZipWriter()
                                .Stored("s.txt", "inner stored")
                                .Deflated("d.txt", "inner deflated")
                                .bytes();
  ZipPtr outer =
      LoadBytes(ZipWriter().Deflated("in/inner.zip", inner).bytes());
  ASSERT_TRUE(outer);
  LogCapture log;
  EXPECT_EQ(LoadZip("./missing.zip", outer.get()), nullptr);
  EXPECT_EQ(LoadZip("../x.zip", outer.get()), nullptr);
  EXPECT_EQ(log.Errors(),
            (Names{"LoadZip: Open falied for missing.zip",
                   "LoadZip: Invalid zip path format: ../x.zip"}));
  UnloadZip(nullptr);
  // The outer archive standardises the path of the inner one. A deflated
  // member refuses a relative seek onto its very end, so the last record of
  // an archive with nothing behind it is lost there.
  ZipPtr nested(LoadZip("./in\\inner.zip", outer.get()));
  ASSERT_TRUE(nested);
  EXPECT_EQ(nested->GetRoot(), "in/inner.zip://");
  EXPECT_EQ(Dump(nested.get()), "s.txt=inner stored");
}

TEST(ZipQuery, ListingsAndLookups) {
  ZipRecord dated("a/b.txt", "b");
  dated.dos_date = (41 << 9) | (6 << 5) | 15;    // 2021-06-15
  dated.dos_time = (12 << 11) | (34 << 5) | 28;  // 12:34:56
  // Out of order: the listing order comes from sorting.
  ZipPtr zip = LoadBytes(ZipWriter()
                             .Add(ZipRecord("ab.txt", "bzip2 bytes", 12))
                             .Stored("a/c/d.txt", "d")
                             .Add(dated)
                             .Stored("a/", "")
                             .Stored("a.txt", "a")
                             .Stored("a/c/", "")
                             .Stored("blank name", "")
                             .bytes());
  ASSERT_TRUE(zip);
  // "." sorts before "/", and "/" before "b". A blank is refused by
  // standardisation: listed, never reached. The method does not matter to
  // IsFile. A directory entry has a date, but is not reached. A zero date is
  // day 0 of month -1 of 1980.
  const struct {
    char op;
    const char* path;
    std::string answer;
  } cases[] = {
      {'L', "", "kept|a.txt|a|ab.txt|blank name"},
      {'F', "", "kept|a.txt|ab.txt|blank name"},
      {'R', "", "kept|a.txt|a/b.txt|a/c/d.txt|ab.txt|blank name"},
      {'L', "a", "kept|a/b.txt|a/c"}, {'L', "a/", "kept|a/b.txt|a/c"},
      {'L', "./a", "kept|a/b.txt|a/c"},
      {'L', "a\\c\\..", "kept|a/b.txt|a/c"},
      {'F', "a", "kept|b.txt"}, {'R', "a", "kept|b.txt|c/d.txt"},
      {'L', "nothing", "kept"}, {'L', "../x", "kept"}, {'R', "../x", "kept"},
      {'L', "a b", "kept"}, {'L', ".", "kept"}, {'d', ".", "no"},
      {'f', "blank name", "no"}, {'f', "a", "no"}, {'d', "a", "yes"},
      {'f', "a/b.txt", "yes"}, {'f', "/a//b.txt", "yes"},
      {'d', "a/b.txt", "no"},
      {'d', "a/b", "no"}, {'d', "a/c", "yes"}, {'d', "", "yes"},
      {'f', "ab.txt", "yes"}, {'t', "a", "-1"}, {'t', "", "-1"},
      {'t', "missing", "-1"}, {'t', "a:b", "-1"},
      {'t', "a/b.txt",
       std::to_string(test::LocalTime(2021, 6, 15, 12, 34, 56))},
      {'t', "a.txt", std::to_string(test::LocalTime(1979, 11, 30, 0, 0, 0))}};
  for (const auto& c : cases) {
    EXPECT_EQ(Ask(zip.get(), c.op, c.path), c.answer) << c.op << " " << c.path;
  }
  // Read-only.
  EXPECT_EQ(zip->OpenOutput("a.txt"), nullptr);
  EXPECT_FALSE(zip->CreateDirectories("new") || zip->RemoveFile("a.txt") ||
               zip->RemoveDirectory("a"));
  std::string out = "old";
  EXPECT_TRUE(zip->StandardizePath("", out) && out.empty());
}

}  // namespace
}  // namespace velm::io
