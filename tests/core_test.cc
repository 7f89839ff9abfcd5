#include <gtest/gtest.h>

#include <velm/io/opener>

namespace velm::io {
namespace {

TEST(Opener, GetOpenerGivesTheStaticBackEnds) {
  for (OpenerType type : {OpenerTypeSys, OpenerTypeCFile, OpenerTypeMMap}) {
    Opener* opener = GetOpener(type);
    ASSERT_NE(opener, nullptr);
    EXPECT_EQ(opener, GetOpener(type));
    EXPECT_EQ(opener->GetType(), type);
    EXPECT_TRUE(IsBuiltinOpener(opener->GetName()));
    EXPECT_EQ(opener->GetRoot(), "");
    EXPECT_EQ(&opener->GetRoot(), &opener->GetRoot());
    EXPECT_TRUE(opener->IsReady());
    EXPECT_TRUE(opener->CheckReady());
  }
  EXPECT_EQ(GetOpener(OpenerTypeSys)->GetName(), "sys");
  EXPECT_EQ(GetOpener(OpenerTypeCFile)->GetName(), "cfile");
  EXPECT_EQ(GetOpener(OpenerTypeMMap)->GetName(), "mmap");
  for (int type : {3, 4, 5, 6, -1}) {
    EXPECT_EQ(GetOpener(static_cast<OpenerType>(type)), nullptr) << type;
  }
}

TEST(Opener, IsBuiltinOpenerByNumberAndName) {
  EXPECT_TRUE(IsBuiltinOpener(-1));
  EXPECT_TRUE(IsBuiltinOpener(3));
  EXPECT_TRUE(IsBuiltinOpener(4));
  EXPECT_TRUE(IsBuiltinOpener(5));
  EXPECT_FALSE(IsBuiltinOpener(6));
  for (const char* name :
       {"os", "cfile", "sys", "mmap", "asset", "obb", "patch_obb", "fios2"}) {
    EXPECT_TRUE(IsBuiltinOpener(std::string(name))) << name;
  }
  for (const char* name : {"zip", "OS", "CFILE", "", " sys"}) {
    EXPECT_FALSE(IsBuiltinOpener(std::string(name))) << name;
  }
}

TEST(Opener, LogChannelStartsAtZero) { EXPECT_EQ(LogChannel, 0u); }

}  // namespace
}  // namespace velm::io
