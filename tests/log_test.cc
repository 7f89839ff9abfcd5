// The logging stand-in.
#include <velm/log/log>

#include "support/support.h"

namespace velm::io {
namespace {

using namespace test;

TEST(Logging, LinesOfEveryLengthAndTheDefaultSink) {
  {
    LogCapture log;
    for (size_t length : {0u, 505u, 506u, 2000u}) {  // 506 + 6 fills 512 bytes
      const std::string text(length, 'x');
      log::Log(3, -1, "%s %d", text.c_str(), 12345);
      EXPECT_EQ(log.lines.back().message, text + " 12345") << length;
    }
    EXPECT_TRUE(log.lines.back().channel == 3 && log.lines.back().level == -1 && !log.lines.back().is_error);
    log::LogError(4, "bad %s", "thing");
    const LogCapture::Line& error = log.lines.back();
    EXPECT_TRUE(error.channel == 4 && error.level == 0 && error.is_error && error.message == "bad thing");
  }
  // A null sink, as the capture leaves, is the default one: it drops detail
  // and writes the rest to stderr.
  testing::internal::CaptureStderr();
  log::Log(5, -1, "detail"), log::Log(5, 0, "note"), log::LogError(5, "failure %d", 9);
  const std::string written = testing::internal::GetCapturedStderr();
  EXPECT_EQ(written.find("detail"), std::string::npos) << written;
  EXPECT_TRUE(written.find("note") != std::string::npos && written.find("failure 9") != std::string::npos);
}

}  // namespace
}  // namespace velm::io
