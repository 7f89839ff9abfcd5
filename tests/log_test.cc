// The logging stand-in.
#include <velm/log/log>

#include "support/support.h"

namespace velm::io {
namespace {

using namespace test;

void Store(void* context, unsigned int channel, int level, bool is_error, const char* message) {
  *static_cast<std::string*>(context) =
      std::to_string(channel) + " " + std::to_string(level) + (is_error ? " error " : " ") + message;
}

TEST(Logging, LinesOfEveryLengthAndTheDefaultSink) {
  std::string last;
  log::SetSink(Store, &last);
  for (size_t length : {0u, 505u, 506u, 2000u}) {  // 506 + 6 fills 512 bytes
    const std::string text(length, 'x');
    log::Log(3, -1, "%s %d", text.c_str(), 12345);
    EXPECT_EQ(last, "3 -1 " + text + " 12345") << length;
  }
  log::LogError(4, "bad %s", "thing");
  EXPECT_EQ(last, "4 0 error bad thing") << "an error of level 0";
  // The default sink drops detail and writes the rest to stderr.
  log::SetSink(nullptr, &last);
  testing::internal::CaptureStderr();
  log::Log(5, -1, "detail"), log::Log(5, 0, "note"), log::LogError(5, "failure %d", 9);
  const std::string written = testing::internal::GetCapturedStderr();
  EXPECT_EQ(written.find("detail"), std::string::npos) << written;
  EXPECT_TRUE(written.find("note") != std::string::npos && written.find("failure 9") != std::string::npos);
  EXPECT_EQ(last, "4 0 error bad thing") << "the old sink is gone";
}

}  // namespace
}  // namespace velm::io
