#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <velm/io/opener>

#include "platform/platform.h"
#include "support/test_support.h"
#include "support/zip_support.h"

namespace velm::io {
namespace {

using test::Contents;
using test::LogCapture;
using test::ReadAll;
using test::ZipPtr;
using test::ZipRecord;
using test::ZipWriter;

const std::string kText = "0123456789abcdefghij";

std::string Take(Input* input, size_t count) {
  std::string out(count, '\0');
  int64_t got = input->Read(&out[0], count);
  out.resize(got > 0 ? static_cast<size_t>(got) : 0);
  return out;
}

TEST(ZipInput, ReadSeekCloneAndClose) {
  ZipPtr zip = test::LoadBytes(ZipWriter()
                                   .Stored("stored", kText)
                                   .Deflated("deflated", kText)
                                   .Stored("empty", "")
                                   .Deflated("empty.z", "")
                                   .bytes());
  ASSERT_TRUE(zip);
  for (const char* name : {"stored", "deflated"}) {
    SCOPED_TRACE(name);
    std::unique_ptr<Input> input(zip->OpenInput(std::string("/") + name));
    ASSERT_TRUE(input);
    EXPECT_EQ(input->GetPath(), name);
    EXPECT_EQ(input->GetSize(), 20);
    // A seek, its result and the position after it, then a read there.
    const struct {
      int64_t offset;
      int32_t whence, result;
      int64_t tell;
      size_t read;
    } steps[] = {
        {0, 0, 0, 0, 5},    {-2, 1, 0, 3, 2},   {-3, 2, 0, 17, 32},
        {0, 2, 0, 20, 1},   {1, 2, -1, 20, 0},  {-21, 2, -1, 20, 0},
        {21, 0, -1, 20, 0}, {-1, 0, -1, 20, 0}, {0, 3, -1, 20, 0},
        {0, 0, 0, 0, 0},    {-1, 1, -1, 0, 0},  {INT64_MAX, 1, -1, 0, 0},
        {10, 0, 0, 10, 0}};
    for (const auto& s : steps) {
      SCOPED_TRACE(testing::Message() << s.offset << ", " << s.whence);
      EXPECT_EQ(input->Seek(s.offset, s.whence), s.result);
      EXPECT_EQ(input->Tell(), s.tell);
      EXPECT_EQ(input->IsEOF(), s.tell == 20);
      EXPECT_EQ(Take(input.get(), s.read), kText.substr(s.tell, s.read));
    }

    // Clones start at 0 and leave the source where it was.
    std::unique_ptr<Input> clone(input->Clone());
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->Tell(), 0);
    EXPECT_EQ(input->Tell(), 10);
    input->Close();
    input->Close();
    EXPECT_TRUE(input->IsClosed() && input->IsEOF());
    EXPECT_EQ(ReadAll(clone.get()), kText);
    EXPECT_EQ(Take(input.get(), 1), "");
    EXPECT_EQ(input->Tell(), 0);
    EXPECT_EQ(input->Seek(0, 0), -1);
    EXPECT_EQ(input->GetSize(), 20);
    EXPECT_EQ(input->Clone(), nullptr);
    int fd;
    int64_t offset;
    EXPECT_FALSE(input->GetDescriptor(&fd, &offset));
  }
  // The very end: whence 1 reaches it on a stored member only.
  std::unique_ptr<Input> stored(zip->OpenInput("stored"));
  std::unique_ptr<Input> deflated(zip->OpenInput("deflated"));
  EXPECT_EQ(stored->Seek(20, 1), 0);
  EXPECT_EQ(deflated->Seek(20, 1), -1);
  EXPECT_EQ(deflated->Seek(19, 1), 0);
  EXPECT_EQ(deflated->Seek(20, 0), 0);
  EXPECT_EQ(deflated->Seek(0, 1), -1);
  for (const char* name : {"empty", "empty.z"}) {
    std::unique_ptr<Input> input(zip->OpenInput(name));
    ASSERT_TRUE(input) << name;
    EXPECT_TRUE(!input->IsClosed() && input->IsEOF()) << name;
    EXPECT_EQ(Take(input.get(), 1), "");
    EXPECT_EQ(input->Seek(0, 0), 0);
    EXPECT_EQ(input->Seek(0, 1), name == std::string("empty") ? 0 : -1);
  }

  // A clone of a deflated member has the bytes without the archive.
  deflated->Seek(5, 0);
  std::unique_ptr<Input> clone(deflated->Clone());
  ASSERT_TRUE(clone);
  deflated.reset();
  stored.reset();
  zip.reset();
  EXPECT_EQ(ReadAll(clone.get()), kText);
}

TEST(ZipInflate, OddDeflateRecords) {
  const std::string text = std::string(5000, 'x') + "0123456789";
  const std::string deflated = ZipRecord("", text, 8).data;
  auto record = [](const char* name, const std::string& data, uint32_t size,
                   uint16_t method = 8) {
    ZipRecord r(name, "");
    r.data = data;
    r.method = method;
    r.uncompress_size = size;
    return r;
  };
  ZipPtr zip = test::LoadBytes(
      ZipWriter()
          .Add(record("longer", deflated, 6000))  // the stream ends early
          .Add(record("shorter", deflated, 5000))  // the output fills first
          .Add(record("starved", deflated.substr(0, 4), 5010))
          .Add(record("corrupt", std::string(40, '\xff'), 100))
          .Add(record("bzip2", deflated, 5010, 12))
          // Stored sizes that disagree: the slice follows the uncompressed.
          .Add(record("slice", "abcdef", 3, 0))
          .bytes());
  ASSERT_TRUE(zip);
  LogCapture log;
  EXPECT_EQ(Contents(zip.get(), "longer"), text + std::string(990, '\0'));
  EXPECT_EQ(Contents(zip.get(), "shorter"), text.substr(0, 5000));
  // The input runs out: what came out, then zeros.
  std::string starved = Contents(zip.get(), "starved");
  ASSERT_EQ(starved.size(), 5010u);
  EXPECT_EQ(starved.find_first_not_of('\0', starved.find_first_not_of('x')),
            std::string::npos);
  EXPECT_EQ(Contents(zip.get(), "slice"), "abc");
  EXPECT_TRUE(log.Errors().empty());
  EXPECT_EQ(Contents(zip.get(), "corrupt"), "<none>");
  EXPECT_TRUE(zip->IsFile("bzip2"));
  EXPECT_EQ(Contents(zip.get(), "bzip2"), "<none>");
  EXPECT_EQ(log.Errors(),
            (std::vector<std::string>{
                "Z_DATA_ERROR Failed to inflate file corrupt",
                "Compress method 12 is not available for file bzip2"}));
}

// Thousands of members of varied size and make, deflated at several levels,
// come back byte for byte.
TEST(ZipInflate, GeneratedMembersRoundTrip) {
  static const char* const kWords[] = {"the ", "archive ", "member ", "zip ",
                                       "stream ", "data\n", "of ", "a "};
  static const int kLevels[] = {0, 1, 6, 9};
  std::mt19937 random(20240601);
  LogCapture log;
  for (int archive = 0; archive < 6; ++archive) {
    ZipWriter writer;
    std::vector<std::string> contents(500);
    for (size_t i = 0; i < contents.size(); ++i) {
      // Mostly small, a few up to about 100 KB.
      const size_t size =
          i % 50 == 0 ? random() % 100000
                      : static_cast<size_t>(exp2(random() % 1300 / 100.0)) - 1;
      std::string& content = contents[i];
      const unsigned kind = random() % 3;  // noise, runs or words
      while (content.size() < size) {
        if (kind == 0) content.push_back(static_cast<char>(random()));
        if (kind == 1) content.append(1 + random() % 64, "abc"[random() % 3]);
        if (kind == 2) content += kWords[random() % 8];
      }
      content.resize(size);
      writer.Deflated("m/" + std::to_string(i), content, kLevels[random() % 4]);
    }
    ZipPtr zip = test::LoadBytes(writer.bytes());
    ASSERT_TRUE(zip);
    for (size_t i = 0; i < contents.size(); ++i) {
      std::unique_ptr<Input> input(zip->OpenInput("m/" + std::to_string(i)));
      ASSERT_TRUE(input) << i;
      ASSERT_EQ(input->GetSize(), static_cast<int64_t>(contents[i].size()));
      ASSERT_TRUE(ReadAll(input.get()) == contents[i]) << archive << " " << i;
    }
  }
  EXPECT_TRUE(log.Errors().empty());
}

// Bytes at offset of a descriptor that a stream handed out.
std::string ReadAt(int fd, int64_t offset, size_t size) {
  std::string out(size, '\0');
  if (platform::_lseeki64(fd, offset, 0) != offset) return "<seek failed>";
  int got = platform::_read(fd, &out[0], static_cast<unsigned>(size));
  out.resize(got > 0 ? static_cast<size_t>(got) : 0);
  return out;
}

// One member gives the same bytes through every back-end and through an
// archive inside an archive; a stored one also through its descriptor.
TEST(ZipBackends, EveryWayGivesTheSameBytes) {
  std::mt19937 random(1);
  std::string stored(70000, '\0');
  for (char& c : stored) c = static_cast<char>(random());
  std::string text;
  for (int i = 0; i < 2000; ++i) text += "line " + std::to_string(i) + "\n";
  const std::string small = stored.substr(0, 5000);
  ZipWriter inner;
  inner.Stored("is.bin", small).Deflated("id.txt", text).Finish();
  ZipWriter writer;
  writer.Stored("dir/s.bin", stored)
      .Deflated("dir/d.txt", text)
      .Stored("inner.zip", inner.bytes())
      .Deflated("inner.z.zip", inner.bytes())
      .Finish();
  test::TempDir dir;
  const std::string path = dir.Join("archive.zip");
  test::WriteFile(path, writer.bytes());

  const int descriptors = test::CountOpenDescriptors();
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
    Opener* os = GetOpener(type);
    SCOPED_TRACE(os->GetName());
    ZipPtr zip(LoadZip(path, os));
    ASSERT_TRUE(zip);
    std::string absolute;
    ASSERT_TRUE(os->StandardizePath(path, absolute));
    EXPECT_EQ(zip->GetRoot(), absolute + "://");

    std::unique_ptr<Input> member(zip->OpenInput("dir/s.bin"));
    std::unique_ptr<Input> deflated(zip->OpenInput("dir/d.txt"));
    ASSERT_TRUE(member && deflated);
    EXPECT_EQ(ReadAll(member.get()), stored);
    EXPECT_EQ(ReadAll(deflated.get()), text);
    // The mapped back-end has no descriptor to give.
    int fd = -1;
    int64_t offset = -1;
    EXPECT_FALSE(deflated->GetDescriptor(&fd, &offset));
    EXPECT_EQ(offset, -1);
    ASSERT_EQ(member->GetDescriptor(&fd, &offset), type != OpenerTypeMMap);
    if (type != OpenerTypeMMap) {
      EXPECT_EQ(offset, writer.data_offsets()[0]);
      EXPECT_EQ(ReadAt(fd, offset, stored.size()), stored);
    }

    for (const std::string inner_name : {"inner.zip", "inner.z.zip"}) {
      SCOPED_TRACE(inner_name);
      ZipPtr nested(LoadZip(inner_name, zip.get()));
      ASSERT_TRUE(nested);
      std::unique_ptr<Input> is(nested->OpenInput("is.bin"));
      ASSERT_TRUE(is);
      EXPECT_EQ(ReadAll(is.get()), small);
      EXPECT_EQ(Contents(nested.get(), "id.txt"), text);
      // Offsets add up through a stored outer member down to the file.
      const bool through_file =
          type != OpenerTypeMMap && inner_name == "inner.zip";
      ASSERT_EQ(is->GetDescriptor(&fd, &offset), through_file);
      if (through_file) {
        EXPECT_EQ(offset, writer.data_offsets()[2] + inner.data_offsets()[0]);
        EXPECT_EQ(ReadAt(fd, offset, small.size()), small);
      }
    }

    // Streams go on after the archive is unloaded.
    member->Seek(0, 0);
    deflated->Seek(0, 0);
    zip.reset();
    EXPECT_EQ(ReadAll(member.get()), stored);
    EXPECT_EQ(ReadAll(deflated.get()), text);
  }
  EXPECT_EQ(test::CountOpenDescriptors(), descriptors);

  // Without a back-end, LoadZip reads through stdio.
  EXPECT_EQ(Contents(ZipPtr(LoadZip(path)).get(), "dir/s.bin"), stored);
}

}  // namespace
}  // namespace velm::io
