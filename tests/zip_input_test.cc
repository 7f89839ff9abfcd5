#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include <velm/io/opener>

#include "support/memory_input.h"
#include "support/test_support.h"
#include "support/zip_writer.h"

namespace velm::io {
namespace {

using test::LogCapture;
using test::MemoryOpener;
using test::ReadAll;
using test::ZipPtr;
using test::ZipRecord;
using test::ZipWriter;

const std::string kText = "0123456789abcdefghij";

class ZipInput : public testing::Test {
 protected:
  void SetUp() override {
    zip = test::LoadBytes(memory, ZipWriter()
                                      .Stored("stored", kText)
                                      .Deflated("deflated", kText)
                                      .Stored("empty", "")
                                      .Deflated("empty.z", "")
                                      .bytes());
    ASSERT_TRUE(zip);
  }
  std::unique_ptr<Input> Open(const std::string& path) {
    return std::unique_ptr<Input>(zip->OpenInput(path));
  }

  MemoryOpener memory;
  ZipPtr zip;
};

TEST_F(ZipInput, ReadSeekAndTellOnBothKinds) {
  for (const char* name : {"stored", "deflated"}) {
    SCOPED_TRACE(name);
    std::unique_ptr<Input> input = Open(name);
    ASSERT_TRUE(input);
    EXPECT_EQ(input->GetPath(), name);
    EXPECT_EQ(input->GetOpener(), zip.get());
    EXPECT_EQ(input->GetSize(), 20);
    EXPECT_FALSE(input->IsClosed());
    char buffer[32] = {};
    EXPECT_EQ(input->Read(buffer, 0), 0);
    EXPECT_EQ(input->Read(buffer, 5), 5);
    EXPECT_EQ(std::string(buffer, 5), "01234");
    EXPECT_EQ(input->Tell(), 5);
    EXPECT_EQ(input->Seek(-2, 1), 0);
    EXPECT_EQ(input->Read(buffer, 2), 2);
    EXPECT_EQ(std::string(buffer, 2), "34");
    EXPECT_EQ(input->Seek(-3, 2), 0);
    EXPECT_EQ(input->Read(buffer, 32), 3);
    EXPECT_EQ(std::string(buffer, 3), "hij");
    EXPECT_TRUE(input->IsEOF());
    EXPECT_EQ(input->Read(buffer, 32), 0);
    EXPECT_EQ(input->Seek(0, 2), 0);
    EXPECT_EQ(input->Tell(), 20);
    EXPECT_EQ(input->Seek(1, 2), -1);
    EXPECT_EQ(input->Seek(-21, 2), -1);
    EXPECT_EQ(input->Seek(21, 0), -1);
    EXPECT_EQ(input->Seek(-1, 0), -1);
    EXPECT_EQ(input->Seek(0, 3), -1);
    EXPECT_EQ(input->Tell(), 20);
    EXPECT_EQ(input->Seek(0, 0), 0);
    EXPECT_EQ(input->Seek(-1, 1), -1);
    EXPECT_EQ(input->Seek(INT64_MAX, 1), -1);
    EXPECT_EQ(input->Tell(), 0);
    EXPECT_EQ(input->Seek(10, 0), 0);

    // Clones start at 0 and leave the source where it was.
    std::unique_ptr<Input> clone(input->Clone());
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->Tell(), 0);
    EXPECT_EQ(input->Tell(), 10);
    input->Close();
    input->Close();
    EXPECT_TRUE(input->IsClosed());
    EXPECT_EQ(ReadAll(clone.get()), kText);
    EXPECT_EQ(input->Tell(), 0);
    EXPECT_EQ(input->Seek(0, 0), -1);
    EXPECT_TRUE(input->IsEOF());
    EXPECT_EQ(input->Read(buffer, 1), 0);
    EXPECT_EQ(input->GetSize(), 20);
    EXPECT_EQ(input->GetPath(), name);
    EXPECT_EQ(input->Clone(), nullptr);
    int fd = 7;
    int64_t offset = 9;
    EXPECT_FALSE(input->GetDescriptor(&fd, &offset));
    EXPECT_EQ(fd, 7);
  }
  // The end itself: whence 1 reaches it on a stored member only.
  std::unique_ptr<Input> stored = Open("stored");
  std::unique_ptr<Input> deflated = Open("deflated");
  EXPECT_EQ(stored->Seek(20, 1), 0);
  EXPECT_EQ(deflated->Seek(20, 1), -1);
  EXPECT_EQ(deflated->Seek(19, 1), 0);
  EXPECT_EQ(deflated->Seek(20, 0), 0);
  EXPECT_EQ(deflated->Seek(0, 1), -1);
}

TEST_F(ZipInput, EmptyMembersAndRefusedPaths) {
  for (const char* name : {"empty", "empty.z"}) {
    std::unique_ptr<Input> input = Open(name);
    ASSERT_TRUE(input) << name;
    EXPECT_FALSE(input->IsClosed());
    EXPECT_TRUE(input->IsEOF());
    char byte;
    EXPECT_EQ(input->Read(&byte, 1), 0);
    EXPECT_EQ(input->Seek(0, 0), 0);
  }
  EXPECT_EQ(Open("empty.z")->Seek(0, 1), -1);
  EXPECT_EQ(Open(""), nullptr);
  EXPECT_EQ(Open("../stored"), nullptr);
  EXPECT_EQ(Open("missing"), nullptr);
  EXPECT_EQ(Open("/stored")->GetPath(), "stored");
}

TEST_F(ZipInput, DescriptorsAndClonesOfStoredMembers) {
  memory.descriptor = 42;
  memory.descriptor_offset = 1000;
  std::unique_ptr<Input> stored = Open("stored");
  stored->Seek(5, 0);
  int fd = 0;
  int64_t offset = 0;
  ASSERT_TRUE(stored->GetDescriptor(&fd, &offset));
  EXPECT_EQ(fd, 42);
  EXPECT_EQ(offset, 1000 + 30 + 6);
  std::unique_ptr<Input> deflated = Open("deflated");
  fd = 7;
  offset = 9;
  EXPECT_FALSE(deflated->GetDescriptor(&fd, &offset));
  EXPECT_EQ(fd, 7);
  EXPECT_EQ(offset, 9);

  // Stored members reopen through the archive; deflated ones share bytes.
  LogCapture log;
  memory.Remove("archive.zip");
  EXPECT_EQ(stored->Clone(), nullptr);
  EXPECT_EQ(Open("stored"), nullptr);
  std::unique_ptr<Input> clone(deflated->Clone());
  ASSERT_TRUE(clone);
  deflated.reset();
  EXPECT_EQ(ReadAll(clone.get()), kText);
  EXPECT_TRUE(log.Errors().empty());
}

TEST(ZipInflate, OddDeflateRecords) {
  const std::string content(5000, 'x');
  const std::string deflated = test::RawDeflate(content + "0123456789");
  auto record = [&](const std::string& name) {
    ZipRecord r;
    r.name = name;
    r.method = 8;
    r.data = deflated;
    return r;
  };
  ZipRecord longer = record("longer");  // the stream ends early
  longer.uncompress_size = 6000;
  ZipRecord shorter = record("shorter");  // the output fills first
  shorter.uncompress_size = 5000;
  ZipRecord starved = record("starved");  // the input runs out
  starved.uncompress_size = 5010;
  starved.data = deflated.substr(0, 4);
  ZipRecord corrupt = record("corrupt");
  corrupt.data = std::string(40, '\xff');
  corrupt.uncompress_size = 100;
  ZipRecord bzip2 = record("bzip2");
  bzip2.method = 12;
  ZipRecord slice;  // sizes disagree; the slice follows the uncompressed one
  slice.name = "slice";
  slice.data = "abcdef";
  slice.compress_size = 6;
  slice.uncompress_size = 3;

  MemoryOpener memory;
  ZipPtr zip = test::LoadBytes(memory, ZipWriter()
                                           .Add(longer)
                                           .Add(shorter)
                                           .Add(starved)
                                           .Add(corrupt)
                                           .Add(bzip2)
                                           .Add(slice)
                                           .bytes());
  ASSERT_TRUE(zip);
  LogCapture log;
  auto read = [&](const std::string& name) {
    std::unique_ptr<Input> input(zip->OpenInput(name));
    return input ? ReadAll(input.get()) : "<null>";
  };
  EXPECT_EQ(read("longer"), content + "0123456789" + std::string(990, '\0'));
  EXPECT_EQ(read("shorter"), content);
  std::string starved_out = read("starved");
  ASSERT_EQ(starved_out.size(), 5010u);
  EXPECT_EQ(starved_out.find_first_not_of('\0', starved_out.find_first_not_of('x')),
            std::string::npos);
  EXPECT_EQ(read("slice"), "abc");
  EXPECT_TRUE(log.Errors().empty());
  EXPECT_EQ(read("corrupt"), "<null>");
  EXPECT_TRUE(zip->IsFile("bzip2"));
  EXPECT_EQ(read("bzip2"), "<null>");
  EXPECT_EQ(log.Errors(),
            (std::vector<std::string>{
                "Z_DATA_ERROR Failed to inflate file corrupt",
                "Compress method 12 is not available for file bzip2"}));
}

std::string Generate(std::mt19937& random, size_t size, int kind) {
  static const char* const kWords[] = {"the ", "archive ", "member ", "zip ",
                                       "stream ", "data\n", "of ", "a "};
  std::string out;
  out.reserve(size);
  while (out.size() < size) {
    switch (kind) {
      case 0:
        out.push_back(static_cast<char>(random()));
        break;
      case 1:
        out.append(1 + random() % 64, static_cast<char>('a' + random() % 3));
        break;
      default:
        out += kWords[random() % 8];
    }
  }
  out.resize(size);
  return out;
}

// Members of varied size and make, deflated at several levels, come back
// byte for byte.
TEST(ZipInflate, GeneratedMembersRoundTrip) {
  std::mt19937 random(20240601);
  MemoryOpener memory;
  LogCapture log;
  int members = 0;
  for (int archive = 0; archive < 6; ++archive) {
    ZipWriter writer;
    std::vector<std::string> contents;
    for (int i = 0; i < 500; ++i) {
      // Mostly small, a few up to about 100 KB.
      size_t size = i % 50 == 0 ? random() % 100000
                                : static_cast<size_t>(
                                      std::exp2((random() % 1300) / 100.0)) - 1;
      contents.push_back(Generate(random, size, static_cast<int>(random() % 3)));
      static const int kLevels[] = {0, 1, 6, 9};
      writer.Deflated("m/" + std::to_string(i), contents.back(),
                      kLevels[random() % 4]);
    }
    ZipPtr zip = test::LoadBytes(memory, writer.Finish().bytes());
    ASSERT_TRUE(zip);
    for (int i = 0; i < 500; ++i, ++members) {
      std::unique_ptr<Input> input(zip->OpenInput("m/" + std::to_string(i)));
      ASSERT_TRUE(input) << i;
      ASSERT_EQ(input->GetSize(), static_cast<int64_t>(contents[i].size()));
      ASSERT_TRUE(ReadAll(input.get()) == contents[i]) << archive << " " << i;
    }
  }
  EXPECT_EQ(members, 3000);
  EXPECT_TRUE(log.Errors().empty());
}

}  // namespace
}  // namespace velm::io
