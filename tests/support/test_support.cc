#include "support/test_support.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <velm/log/log>

#include "platform/platform.h"

namespace fs = std::filesystem;

namespace velm::test {

TempDir::TempDir() {
  static std::atomic<unsigned> counter{0};
  std::random_device random;
  for (int attempt = 0; attempt < 100; ++attempt) {
    std::ostringstream name;
    name << "velmio-" << random() << "-" << counter++;
    fs::path candidate = fs::temp_directory_path() / name.str();
    std::error_code error;
    if (fs::create_directory(candidate, error)) {
      path_ = candidate.u8string();
      return;
    }
  }
  throw std::runtime_error("cannot make a temporary directory");
}

TempDir::~TempDir() {
  std::error_code error;
  fs::remove_all(fs::u8path(path_), error);
}

std::string TempDir::Join(const std::string& name) const {
  return path_ + platform::kPathSeparator + name;
}

void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream out(fs::u8path(path), std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out) throw std::runtime_error("cannot write " + path);
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(fs::u8path(path), std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

int CountOpenDescriptors() {
  // Under Wine the folder exists too, but it lists the emulator's own Unix
  // descriptors, not the CRT's.
  if (platform::kPathSeparator == '\\') return -1;
  std::error_code error;
  fs::directory_iterator it("/proc/self/fd", error);
  if (error) return -1;
  int count = 0;
  for (; it != fs::directory_iterator(); it.increment(error)) ++count;
  return count;
}

bool UnderWine() {
  return platform::kPathSeparator == '\\' && std::getenv("WINEPREFIX") != nullptr;
}

namespace {
void CaptureSink(void* context, unsigned int channel, int level, bool is_error,
                 const char* message) {
  auto* lines = static_cast<std::vector<LogCapture::Line>*>(context);
  lines->push_back({channel, level, is_error, message});
}
}  // namespace

LogCapture::LogCapture() { log::SetSink(CaptureSink, &lines_); }
LogCapture::~LogCapture() { log::SetSink(nullptr, nullptr); }

std::vector<std::string> LogCapture::Errors() const {
  std::vector<std::string> errors;
  for (const Line& line : lines_) {
    if (line.is_error) errors.push_back(line.message);
  }
  return errors;
}

}  // namespace velm::test
