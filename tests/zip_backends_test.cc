#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include <velm/io/opener>

#include "platform/platform.h"
#include "support/memory_input.h"
#include "support/test_support.h"
#include "support/zip_writer.h"

namespace velm::io {
namespace {

using test::ReadAll;
using test::ZipPtr;
using test::ZipWriter;

std::string RandomBytes(size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::string out(size, '\0');
  for (char& c : out) c = static_cast<char>(random());
  return out;
}

// Bytes at offset of a descriptor that a stream handed out.
std::string ReadAt(int fd, int64_t offset, size_t size) {
  std::string out(size, '\0');
  if (platform::_lseeki64(fd, offset, 0) != offset) return "<seek failed>";
  size_t done = 0;
  while (done < size) {
    int got = platform::_read(fd, &out[done], static_cast<unsigned>(size - done));
    if (got <= 0) return "<read failed>";
    done += static_cast<size_t>(got);
  }
  return out;
}

class ZipBackends : public testing::Test {
 protected:
  void SetUp() override {
    stored = RandomBytes(70000, 1);
    text.clear();
    for (int i = 0; i < 2000; ++i) text += "line " + std::to_string(i) + "\n";
    ZipWriter inner_writer;
    inner_writer.Stored("is.bin", stored.substr(0, 5000)).Deflated("id.txt", text).Finish();
    inner = inner_writer.bytes();
    inner_stored_offset = inner_writer.data_offsets()[0];
    ZipWriter writer;
    writer.Stored("dir/s.bin", stored)
        .Deflated("dir/d.txt", text)
        .Stored("inner.zip", inner)
        .Deflated("inner.z.zip", inner)
        .Finish();
    stored_offset = writer.data_offsets()[0];
    inner_offset = writer.data_offsets()[2];
    path = dir.Join("archive.zip");
    test::WriteFile(path, writer.bytes());
  }

  test::TempDir dir;
  std::string path, stored, text, inner;
  uint32_t stored_offset = 0, inner_offset = 0, inner_stored_offset = 0;
};

// One member gives the same bytes through every back-end, and through an
// archive inside an archive.
TEST_F(ZipBackends, EveryWayGivesTheSameBytes) {
  const int descriptors = test::CountOpenDescriptors();
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
    Opener* os = GetOpener(type);
    SCOPED_TRACE(os->GetName());
    ZipPtr zip(LoadZip(path, os));
    ASSERT_TRUE(zip) << "back-end cannot load the archive";
    std::string absolute;
    ASSERT_TRUE(os->StandardizePath(path, absolute));
    EXPECT_EQ(zip->GetRoot(), absolute + "://");

    std::unique_ptr<Input> member(zip->OpenInput("dir/s.bin"));
    ASSERT_TRUE(member);
    EXPECT_EQ(ReadAll(member.get()), stored);
    std::unique_ptr<Input> deflated(zip->OpenInput("dir/d.txt"));
    ASSERT_TRUE(deflated);
    EXPECT_EQ(ReadAll(deflated.get()), text);

    int fd = -1;
    int64_t offset = -1;
    if (type == OpenerTypeMMap) {
      EXPECT_FALSE(member->GetDescriptor(&fd, &offset));
    } else {
      ASSERT_TRUE(member->GetDescriptor(&fd, &offset));
      EXPECT_EQ(offset, stored_offset);
      EXPECT_EQ(ReadAt(fd, offset, stored.size()), stored);
    }

    for (const char* inner_name : {"inner.zip", "inner.z.zip"}) {
      SCOPED_TRACE(inner_name);
      ZipPtr nested(LoadZip(inner_name, zip.get()));
      ASSERT_TRUE(nested);
      EXPECT_EQ(nested->GetRoot(), std::string(inner_name) + "://");
      std::unique_ptr<Input> is(nested->OpenInput("is.bin"));
      std::unique_ptr<Input> id(nested->OpenInput("id.txt"));
      ASSERT_TRUE(is && id);
      EXPECT_EQ(ReadAll(is.get()), stored.substr(0, 5000));
      EXPECT_EQ(ReadAll(id.get()), text);
      // Offsets add up through the stored outer member down to the file.
      const bool through_file =
          type != OpenerTypeMMap && inner_name == std::string("inner.zip");
      EXPECT_EQ(is->GetDescriptor(&fd, &offset), through_file);
      if (through_file) {
        EXPECT_EQ(offset, inner_offset + inner_stored_offset);
        EXPECT_EQ(ReadAt(fd, offset, 5000), stored.substr(0, 5000));
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
}

TEST_F(ZipBackends, OneArgumentLoadZipReadsThroughStdio) {
  test::LogCapture log;
  ZipPtr zip(LoadZip(path));
  ASSERT_TRUE(zip);
  std::unique_ptr<Input> member(zip->OpenInput("dir/s.bin"));
  ASSERT_TRUE(member);
  EXPECT_EQ(ReadAll(member.get()), stored);

  EXPECT_EQ(LoadZip(dir.Join("missing.zip")), nullptr);
  ASSERT_EQ(log.Errors().size(), 1u);
  EXPECT_EQ(log.Errors()[0].rfind("LoadZip: Open falied for ", 0), 0u);
  test::WriteFile(dir.Join("empty.zip"), "");
  EXPECT_EQ(LoadZip(dir.Join("empty.zip")), nullptr);
  EXPECT_EQ(log.Errors().size(), 1u);
}

}  // namespace
}  // namespace velm::io
