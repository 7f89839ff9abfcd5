// Hostile archives and calls: what they may cost and what they give back.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <velm/io/opener>

#include "support/test_support.h"
#include "support/zip_support.h"

namespace {
// While set, the non-throwing operator new fails as it does when memory runs
// out. Only the inflater's zlib state is allocated through it.
bool fail_nothrow_new = false;
}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (fail_nothrow_new) return nullptr;
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

namespace velm::io {
namespace {

using test::LoadBytes;
using test::ZipPtr;
using test::ZipRecord;
using test::ZipWriter;

// levels times step, then "b": every step ends a parent of its own.
std::string Deep(size_t levels, const std::string& step = "a/") {
  std::string name;
  for (size_t i = 0; i < levels; ++i) name += step;
  return name + "b";
}

TEST(ZipLimits, IndexStaysWithinABoundOfTheArchive) {
  std::vector<std::string> many;
  for (int i = 0; i < 20; ++i)
    many.push_back(std::to_string(i) + "/" + Deep(500));
  const std::string tree = Deep(200, "dir/");
  // indexed: how many leading records are in the index; -1: some, not all.
  const struct {
    std::vector<std::string> names;
    int indexed;
  } cases[] = {
      // 2,048 levels make 4 MiB of parent keys out of 4 KiB of archive.
      {{"keep", Deep(2048), "after"}, 1},
      {{Deep(2048), "after"}, 0},
      // A deep tree of a real archive, and a sibling whose parents are known.
      {{"keep", tree, tree + "2", "after"}, 4},
      // Each record is modest; together they pass.
      {many, -1},
  };
  for (const auto& c : cases) {
    ZipWriter writer;
    for (const std::string& name : c.names) writer.Stored(name, "x");
    ZipPtr zip = LoadBytes(writer.bytes());
    ASSERT_EQ(zip != nullptr, c.indexed != 0);
    if (!zip) continue;
    size_t indexed = 0;
    while (indexed < c.names.size() && zip->IsFile(c.names[indexed])) ++indexed;
    for (size_t i = indexed; i < c.names.size(); ++i)
      EXPECT_FALSE(zip->IsFile(c.names[i])) << i;
    if (c.indexed >= 0) {
      EXPECT_EQ(indexed, static_cast<size_t>(c.indexed));
    } else {
      EXPECT_GT(indexed, 0u);
      EXPECT_LT(indexed, c.names.size());
    }
    // Nothing of the record that passed, parents included.
    if (indexed < c.names.size() && c.names[indexed].rfind("a/", 0) == 0) {
      EXPECT_FALSE(zip->IsDirectory("a"));
    }
  }
}

TEST(ZipLimits, MemberDeclaringMoreThanItHoldsReadsOnAsZeros) {
  const std::string text = "the only bytes this member really has";
  ZipRecord record("big", text, 8);
  record.uncompress_size = 0xFFFFFFFFu;
  ZipPtr zip = LoadBytes(ZipWriter().Add(record).bytes(), OpenerTypeMMap);
  ASSERT_TRUE(zip);
  std::unique_ptr<Input> input(zip->OpenInput("big"));
  ASSERT_TRUE(input);
  EXPECT_EQ(input->GetSize(), 0xFFFFFFFF);
  const size_t n = text.size();
  // Where a read starts and how much it asks: the bytes, then zeros.
  const struct {
    int64_t from;
    size_t count;
    std::string expected;
  } reads[] = {
      {0, n, text},
      {static_cast<int64_t>(n) - 4, 8,
       text.substr(n - 4) + std::string(4, '\0')},
      {0xFFFFFFFF - 3, 8, std::string(3, '\0')},
  };
  for (const auto& r : reads) {
    ASSERT_EQ(input->Seek(r.from, 0), 0);
    std::string got(r.count, '?');
    got.resize(static_cast<size_t>(input->Read(&got[0], r.count)));
    EXPECT_EQ(got, r.expected) << r.from;
  }
  EXPECT_TRUE(input->IsEOF());
  std::unique_ptr<Input> clone(input->Clone());
  std::string start(n, '?');
  ASSERT_EQ(clone->Read(&start[0], n), static_cast<int64_t>(n));
  EXPECT_EQ(start, text);

  // Held at once, as many as would need more than 128 TiB of address space
  // if each were given its declared size.
  std::vector<std::unique_ptr<Input>> held;
  for (int i = 0; i < 33000; ++i) {
    held.emplace_back(zip->OpenInput("big"));
    ASSERT_TRUE(held.back()) << i;
  }
}

// The Microsoft runtime ends the process on such a whence, so it must not
// reach the platform at all: errno stays as it was.
TEST(ZipLimits, UnknownWhenceFailsWithoutAPlatformCall) {
  test::TempDir dir;
  const std::string path = dir.Join("file");
  test::WriteFile(path, "0123456789");
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
    SCOPED_TRACE(type);
    std::unique_ptr<Input> input(GetOpener(type)->OpenInput(path));
    ASSERT_TRUE(input);
    ASSERT_EQ(input->Seek(4, 0), 0);
    errno = 0;
    for (int32_t whence : {3, 4, -1, 1000})
      EXPECT_EQ(input->Seek(0, whence), -1);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(input->Tell(), 4);
    if (type == OpenerTypeMMap) continue;
    std::unique_ptr<Output> output(
        GetOpener(type)->OpenOutput(dir.Join("out")));
    ASSERT_TRUE(output);
    errno = 0;
    EXPECT_EQ(output->Seek(0, 3), -1);
    EXPECT_EQ(errno, 0);
  }
}

TEST(ZipLimits, InflaterOutOfMemoryThrows) {
  ZipPtr zip = LoadBytes(ZipWriter().Deflated("m", "text").bytes());
  ASSERT_TRUE(zip);
  fail_nothrow_new = true;
  EXPECT_THROW(delete zip->OpenInput("m"), std::bad_alloc);
  fail_nothrow_new = false;
  EXPECT_EQ(test::Contents(zip.get(), "m"), "text");
}

}  // namespace
}  // namespace velm::io
