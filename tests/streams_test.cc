// The stream contract over every back-end, the built-in back-ends and the
// table of mapped files.
#include <cerrno>

#include "mmap/mapped_file_cache.h"
#include "support/support.h"

namespace velm::io {
namespace {

using namespace test;

enum Kind { kSys, kCFile, kMMap, kStored, kDeflated };  // the answer columns below
const char* const kNames[] = {"sys", "cfile", "mmap", "stored", "deflated"};

class Streams : public testing::TestWithParam<Kind> {
 protected:
  Kind kind() const { return GetParam(); }
  bool zip() const { return kind() >= kStored; }
  Opener* opener() const { return zip() ? archive.get() : GetOpener(OpenerType(kind())); }
  const std::string& name() const { return zip() ? member : path; }
  // A file, or a member of an archive read through stdio, holding content.
  std::unique_ptr<Input> Open(const std::string& content) {
    if (zip()) {
      ZipWriter writer;
      kind() == kStored ? writer.Stored(member, content) : writer.Deflated(member, content);
      data_offset = writer.Finish().data_offsets[0];
      archive = LoadBytes(writer.bytes);
    } else {
      WriteFile(path, content);
    }
    return std::unique_ptr<Input>(opener() ? opener()->OpenInput(name()) : nullptr);
  }
  TempDir dir;
  const std::string path = dir.Join("f"), member = "m";
  ZipPtr archive;
  int64_t data_offset = 0;
};

INSTANTIATE_TEST_SUITE_P(BackEnds, Streams, testing::Values(kSys, kCFile, kMMap, kStored, kDeflated),
                         [](const auto& info) { return kNames[info.param]; });

TEST_P(Streams, SeekTable) {
  const std::string text = "0123456789";
  std::unique_ptr<Input> input = Open(text);
  ASSERT_TRUE(input && !input->IsClosed() && input->Tell() == 0 && input->GetSize() == 10);
  constexpr int64_t F = -1;  // refused: -1, and the position stays
  // The OS back-ends seek past the end; the mapped one never seeks back onto
  // 0 relatively; a deflated member never reaches its end relatively.
  const struct { int64_t from, offset; int whence; int64_t to[5]; } rows[] = {
      {3, 0, 0, {0, 0, 0, 0, 0}},       {3, 10, 0, {10, 10, 10, 10, 10}},
      {3, 11, 0, {11, 11, F, F, F}},    {3, -1, 0, {F, F, F, F, F}},
      {3, 7, 1, {10, 10, 10, 10, F}},   {3, 8, 1, {11, 11, F, F, F}},
      {5, -5, 1, {0, 0, F, 0, 0}},      {5, -4, 1, {1, 1, 1, 1, 1}},
      {1, -1, 1, {0, 0, F, 0, 0}},      {10, 0, 1, {10, 10, 10, 10, F}},
      {0, 0, 1, {0, 0, 0, 0, 0}},       {3, 0, 2, {10, 10, 10, 10, 10}},
      {3, -10, 2, {0, 0, 0, 0, 0}},     {3, -11, 2, {F, F, F, F, F}},
      {3, 1, 2, {11, 11, F, F, F}},     {3, 0, 3, {F, F, F, F, F}},
      {3, 0, -1, {F, F, F, F, F}},      {3, INT64_MIN, 1, {F, F, F, F, F}},
      {3, INT64_MAX, 1, {F, F, F, F, F}}, {3, INT64_MIN, 2, {F, F, F, F, F}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.from << " " << row.offset << " " << row.whence);
    ASSERT_EQ(input->Seek(row.from, 0), 0);
    const int64_t to = row.to[kind()], at = to == F ? row.from : to;
    errno = 0;
    EXPECT_TRUE(input->Seek(row.offset, row.whence) == (to == F ? -1 : 0) && input->Tell() == at);
    // The Microsoft runtime ends the process on an unknown whence: it must
    // not reach the platform at all.
    if (row.whence < 0 || row.whence > 2) { EXPECT_EQ(errno, 0); }
    // Stdio knows the end only once a read has run into it.
    if (kind() != kCFile) { EXPECT_EQ(input->IsEOF(), at >= 10); }
    char buffer[3];
    const int64_t got = input->Read(buffer, sizeof buffer);
    EXPECT_EQ(std::string(buffer, std::max<int64_t>(got, 0)), text.substr(std::min<int64_t>(at, 10), 3));
  }
}

TEST_P(Streams, ReadCountsAndEndOfFile) {
  std::unique_ptr<Input> input = Open("hello");
  ASSERT_TRUE(input);
  char buffer[16];
  EXPECT_TRUE(input->Read(buffer, 0) == 0 && input->Tell() == 0 && input->Read(buffer, 5) == 5);
  EXPECT_EQ(input->IsEOF(), kind() != kCFile) << "ended exactly at the last byte";
  EXPECT_TRUE(input->Read(buffer, sizeof buffer) == 0 && input->IsEOF());
  ASSERT_EQ(input->Seek(1, 0), 0);
  EXPECT_FALSE(input->IsEOF());
  EXPECT_TRUE(input->Read(buffer, sizeof buffer) == 4 && input->IsEOF());
  if (zip()) {  // members go on after their archive is unloaded
    ASSERT_EQ(input->Seek(0, 0), 0);
    std::unique_ptr<Input> clone(kind() == kDeflated ? input->Clone() : nullptr);
    archive.reset();
    EXPECT_EQ(ReadAll(input.get()), "hello");
    if (clone) { EXPECT_EQ(ReadAll(clone.get()), "hello"); }
  }
  input.reset();
  LogCapture log;
  input = Open("");
  if (kind() == kMMap) { EXPECT_EQ(input, nullptr) << "an empty file cannot be mapped"; return; }
  ASSERT_TRUE(input && !input->IsClosed() && input->GetSize() == 0);
  EXPECT_EQ(input->IsEOF(), kind() != kCFile);
  EXPECT_TRUE(input->Read(buffer, 1) == 0 && input->IsEOF() && input->Seek(0, 0) == 0);
  EXPECT_EQ(input->Seek(0, 1), kind() == kDeflated ? -1 : 0);
}

TEST_P(Streams, ClonesAndClosedAnswers) {
  const std::string text = "0123456789";
  std::unique_ptr<Input> input = Open(text);
  char buffer[16];
  ASSERT_TRUE(input && input->Read(buffer, 4) == 4);
  // The mapped back-end and a deflated member have no descriptor; a stored
  // member gives its archive's, at the offset of its data.
  int fd = 1234;
  int64_t offset = 5678;
  const bool has_descriptor = kind() != kMMap && kind() != kDeflated;
  ASSERT_EQ(input->GetDescriptor(&fd, &offset), has_descriptor);
  if (has_descriptor) {
    // Nothing is buffered on a descriptor: its position is the stream's.
    if (kind() == kSys) { EXPECT_EQ(platform::calls.Seek(fd, 0, 1), 4); }
    EXPECT_EQ(offset, kind() == kStored ? data_offset : 0);
    std::string at(10, '\0');
    EXPECT_TRUE(platform::calls.Seek(fd, offset, 0) == offset && platform::calls.Read(fd, &at[0], 10) == 10);
    EXPECT_EQ(at, text);
    ASSERT_EQ(input->Seek(4, 0), 0);
  }
  EXPECT_TRUE(has_descriptor || (fd == 1234 && offset == 5678)) << "left as they were";
  // Replaced by rename (which Windows refuses while the file is open): clones
  // read the file that was opened, and a member holds no descriptor.
  const std::string file = zip() ? archive->GetRoot().substr(0, archive->GetRoot().size() - 3) : path;
  WriteFile(file + "-new", std::string(40, '#'));
  std::error_code refused;
  fs::rename(fs::u8path(file + "-new"), fs::u8path(file), refused);
  const int descriptors = DescriptorMark();
  std::unique_ptr<Input> clone(input->Clone());
  EXPECT_TRUE(!zip() || DescriptorMark() == descriptors);
  ASSERT_TRUE(clone && clone->Tell() == 0 && input->Tell() == 4);
  EXPECT_TRUE(clone->GetPath() == name() && clone->GetOpener() == opener());
  int clone_fd = fd;
  EXPECT_TRUE(kind() > kCFile || !clone->GetDescriptor(&clone_fd, &offset) || clone_fd != fd) << "opened again";
  input->Close();
  input->Close();
  EXPECT_EQ(ReadAll(clone.get()), text) << "the clone outlives the source";
  clone.reset();

  // What a closed stream answers, per back-end. A clone is 'o'pen, 'c'losed or 'n'one.
  const struct { int64_t tell; bool seeks, eof; int fd; int64_t offset; char clone; } closed[] = {
      {0, false, true, -1, 0, 'o'},      {0, false, true, 1234, 5678, 'o'},
      {4, true, false, 1234, 5678, 'c'}, {0, false, true, 1234, 5678, 'n'}, {0, false, true, 1234, 5678, 'n'}};
  const auto& c = closed[kind()];
  EXPECT_TRUE(input->IsClosed() && input->Tell() == c.tell);
  EXPECT_TRUE(input->Seek(2, 1) == (c.seeks ? 0 : -1) && input->Tell() == (c.seeks ? c.tell + 2 : c.tell));
  EXPECT_TRUE(input->IsEOF() == c.eof && input->GetSize() == 10 && input->Read(buffer, 4) == 0);
  EXPECT_TRUE(input->GetPath() == name() && input->GetOpener() == opener());
  fd = 1234, offset = 5678;
  EXPECT_FALSE(input->GetDescriptor(&fd, &offset));
  EXPECT_TRUE(fd == c.fd && offset == c.offset) << fd << " " << offset;
  if (c.clone == 'o') WriteFile(path, "abcdefghijklmnop");  // reopened by path
  clone.reset(input->Clone());
  if (c.clone == 'n') { EXPECT_EQ(clone, nullptr); return; }
  ASSERT_TRUE(clone && clone->IsClosed() == (c.clone == 'c'));
  EXPECT_EQ(ReadAll(clone.get()), c.clone == 'c' ? "" : "abcdefghijklmnop");
  EXPECT_EQ(clone->GetSize(), c.clone == 'c' ? 10 : 16);
  if (c.clone == 'c') return;
  clone.reset();
  ASSERT_TRUE(fs::remove(fs::u8path(path)));
  EXPECT_EQ(input->Clone(), nullptr);
}

TEST_P(Streams, DescriptorsGoBackOnEveryPath) {
  Open("data");
  Opener* const o = opener();
  const std::string nowhere = dir.Join("nowhere");
  LogCapture log;  // the mapped back-end reports its failures
  ExpectNoLeak([&] {
    delete o->OpenInput(name());  // deleting an open stream closes it
    std::unique_ptr<Input> closed(o->OpenInput(name()));
    ASSERT_TRUE(closed);
    closed->Close();
    delete closed->Clone();
    for (const std::string& bad : {nowhere, dir.path, std::string()}) {
      ASSERT_EQ(o->OpenInput(bad), nullptr) << bad;
    }
    if (zip()) return;
    delete o->OpenOutput(dir.Join("out"));
    delete o->OpenOutput(dir.path);
    delete o->OpenOutput(nowhere + kSep + "f");
  });
  EXPECT_FALSE(fs::exists(fs::u8path(nowhere))) << "no directory is made";
}

// Both empty the file at open and report size 0 however much is written; sys
// writes through, stdio may hold bytes until Close. An input keeps the size
// seen at open, though the bytes added since can be read.
TEST(Outputs, CreateOrEmptyWriteAndReadBack) {
  TempDir dir;
  const std::string path = dir.Join("out"), nowhere = dir.Join("nowhere");
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile}) {
    Opener* o = GetOpener(type);
    SCOPED_TRACE(o->GetName());
    WriteFile(path, "old content that must go");
    std::unique_ptr<Output> output(o->OpenOutput(path));
    ASSERT_TRUE(output && ReadFile(path).empty());
    EXPECT_TRUE(output->Write("0123456789", 10) == 10 && output->Write("", 0) == 0);
    EXPECT_TRUE(output->GetSize() == 0 && output->Tell() == 10 && output->IsEOF() == (type == OpenerTypeSys));
    if (type == OpenerTypeSys) { EXPECT_EQ(ReadFile(path), "0123456789"); }
    EXPECT_TRUE(output->Seek(1, 0) == 0 && output->Write("E", 1) == 1);
    std::unique_ptr<Input> input(o->OpenInput(path));
    output->Close();
    output->Close();
    EXPECT_TRUE(output->IsClosed() && output->Tell() == 0 && output->IsEOF());
    EXPECT_TRUE(output->Write("x", 1) == 0 && output->Seek(0, 0) == -1);
    EXPECT_TRUE(output->GetPath() == path && output->GetOpener() == o);
    EXPECT_TRUE(input && input->GetSize() == 10) << "a seek writes out what stdio held";
    ASSERT_EQ(input->Seek(10, 0), 0);
    if (type == OpenerTypeSys) { EXPECT_TRUE(input->IsEOF()); }
    WriteFile(path, "0E23456789, again");
    EXPECT_EQ(ReadAll(input.get()), ", again");
    // Descriptor counts beyond 32 bits are cut to the most one call can
    // report, not to their low 32 bits (5). Linux refuses a buffer that runs
    // past the top of the address space; Windows may check all of it.
    if (!OnWindows()) {
      std::string heap(32, '\0');
      EXPECT_TRUE(input->Seek(99, 0) == 0 && input->Seek(0, 0) == 0 && input->Read(&heap[0], SIZE_MAX) == 17);
    }
    output.reset(o->OpenOutput(path + "-new"));
    EXPECT_TRUE(output && fs::exists(fs::u8path(path + "-new")));
    EXPECT_FALSE(o->OpenOutput("") || o->OpenOutput(nowhere + kSep + "f"));
  }
  // A failing write: -1 through sys; through stdio a short count once the
  // buffer fails to go out, and nothing taken behind it. The streams stay open.
  if (fs::exists("/dev/full")) {
    std::unique_ptr<Output> full(GetOpener(OpenerTypeSys)->OpenOutput("/dev/full"));
    EXPECT_TRUE(full && full->Write("x", 1) == -1 && !full->IsClosed());
    full.reset(GetOpener(OpenerTypeCFile)->OpenOutput("/dev/full"));
    int writes = 0;
    while (writes < 100000 && full->Write("0123456789", 10) == 10) ++writes;
    EXPECT_TRUE(writes < 100000 && full->Write("x", 1) == 0 && !full->IsClosed());
  }
  // The mapped back-end is read-only.
  EXPECT_FALSE(GetOpener(OpenerTypeMMap)->OpenOutput(path) || GetOpener(OpenerTypeMMap)->OpenOutput(nowhere));
  EXPECT_TRUE(ReadFile(path) == "0E23456789, again" && !fs::exists(fs::u8path(nowhere)));
}

// Emptying a file under a live view would end the process at its next read
// on Linux; Windows refuses it. Refused by the file, however it is named.
TEST(Outputs, RefusedOverAFileThisProcessMaps) {
  TempDir dir;
  const std::string path = dir.Join("m"), link = dir.Join("link");
  WriteFile(path, "mapped");
  std::unique_ptr<Input> mapped(GetOpener(OpenerTypeMMap)->OpenInput(path));
  std::error_code error;
  fs::create_hard_link(fs::u8path(path), fs::u8path(link), error);
  for (const std::string& name : {path, dir.Join(".") + kSep + "m", error ? path : link}) {
    EXPECT_FALSE(GetOpener(OpenerTypeSys)->OpenOutput(name) || GetOpener(OpenerTypeCFile)->OpenOutput(name)) << name;
  }
  EXPECT_TRUE(ReadFile(path) == "mapped" && mapped && ReadAll(mapped.get()) == "mapped");
  mapped.reset();
  EXPECT_TRUE(std::unique_ptr<Output>(GetOpener(OpenerTypeSys)->OpenOutput(path)));
}

TEST(Openers, BuiltinBackEndsAndNames) {
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
    Opener* o = GetOpener(type);
    ASSERT_TRUE(o != nullptr && o == GetOpener(type) && o->GetType() == type && o->GetName() == kNames[type]);
    EXPECT_TRUE(o->GetRoot().empty() && &o->GetRoot() == &o->GetRoot() && o->IsReady() && o->CheckReady());
  }
  for (int type : {3, 4, 5, 6, -1}) EXPECT_EQ(GetOpener(OpenerType(type)), nullptr) << type;
  for (int type : {-1, 0, 3, 4, 5, 6}) EXPECT_EQ(IsBuiltinOpener(type), type < 6) << type;
  EXPECT_TRUE(IsBuiltinOpener("fios2") && !IsBuiltinOpener("zip") && !IsBuiltinOpener("OS") && !IsBuiltinOpener(""));
  EXPECT_EQ(LogChannel, 0u);
}

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

// While an input lives, every spelling of its path shares its view, as long
// as the path leads to that file: a relative path read in another directory,
// or a file replaced by rename, gets a view of its own. Expired entries are
// swept by an open that finds more than 1000 entries; live ones never are.
TEST_F(MMapCache, ViewsFollowTheFileAndExpiredEntriesAreSwept) {
  WriteFile(dir.Join("g"), "abc");
  std::unique_ptr<Input> live(MMap()->OpenInput(path)), other(MMap()->OpenInput(dir.Join(".") + kSep + "f"));
  EXPECT_EQ(Mappings(path), OnWindows() ? -1 : 1);
  other.reset();
  ASSERT_EQ(TableSize(&dir, 999), 1000u);
  Append(path);
  std::unique_ptr<Input> fresh(MMap()->OpenInput(dir.Join("g")));
  EXPECT_EQ(TableSize(), 1001u) << "no sweep at exactly 1000 entries";
  std::unique_ptr<Input> again(MMap()->OpenInput(path));
  ASSERT_TRUE(live && fresh && again);
  EXPECT_EQ(again->GetSize(), 10) << "the live view was kept";
  EXPECT_EQ(TableSize(), 2u);
  TempDir elsewhere;
  WriteFile(elsewhere.Join("g"), "elsewhere");
  std::unique_ptr<Input> here((InDirectory(dir.path), MMap()->OpenInput("g")));
  InDirectory moved(elsewhere.path);
  EXPECT_EQ(ReadAll(std::unique_ptr<Input>(MMap()->OpenInput("g")).get()), "elsewhere");
  std::error_code refused;  // Windows renames no file onto one that is mapped
  WriteFile(dir.Join("n"), "replaced");
  fs::rename(fs::u8path(dir.Join("n")), fs::u8path(path), refused);
  EXPECT_EQ(ReadAll(std::unique_ptr<Input>(MMap()->OpenInput(path)).get()), refused ? "0123456789" : "replaced");
  EXPECT_EQ(ReadAll(live.get()), "0123456789");
}

TEST_F(MMapCache, FailuresAreLoggedAndLeaveNoEntry) {
  WriteFile(dir.Join("empty"), "");
  LogChannel = 7;
  for (const std::string& bad : {dir.Join("empty"), dir.Join("missing"), std::string(), dir.path}) {
    LogCapture log;
    EXPECT_EQ(MMap()->OpenInput(bad), nullptr) << bad;
    ASSERT_EQ(log.lines.size(), 1u) << bad;
    EXPECT_TRUE(log.lines[0].is_error && log.lines[0].channel == 7u);
    EXPECT_EQ(log.lines[0].message, "Failed to open mmap file " + bad);
    EXPECT_EQ(TableSize(), 0u) << bad;
  }
  LogChannel = 0;
  // Windows maps only a file that nobody holds open.
  std::unique_ptr<Input> holder(GetOpener(OpenerTypeCFile)->OpenInput(path));
  EXPECT_EQ(std::unique_ptr<Input>(MMap()->OpenInput(path)) == nullptr, OnWindows());
}

}  // namespace
}  // namespace velm::io
