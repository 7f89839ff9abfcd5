// What every test program shares: folders, files, descriptors, the log, and
// zip archives built record by record.
#ifndef VELMIO_TESTS_SUPPORT_SUPPORT_H_
#define VELMIO_TESTS_SUPPORT_SUPPORT_H_

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <velm/io/opener>
#include <velm/io/stream>
#include <velm/log/log>

#include "platform/platform.h"
#include "zip_writer.h"

namespace fs = std::filesystem;

namespace velm::test {

using Strings = std::vector<std::string>;
const std::string kSep(1, platform::kPathSeparator);
inline bool OnWindows() { return platform::kPathSeparator == '\\'; }

// A fresh folder below the system's temporary one, removed with its contents.
struct TempDir {
  TempDir() {
    static std::atomic<unsigned> counter{0};
    path = (fs::temp_directory_path() / ("velmio-" + std::to_string(std::random_device()()) + "-" +
                                         std::to_string(counter++))).u8string();
    if (!fs::create_directory(fs::u8path(path))) throw std::runtime_error("exists: " + path);
  }
  ~TempDir() { fs::remove_all(fs::u8path(path), ignored); }
  TempDir(const TempDir&) = delete;
  std::string Join(const std::string& name) const { return path + kSep + name; }
  std::string path;
  std::error_code ignored;
};

// The current directory for the life of the object.
struct InDirectory {
  explicit InDirectory(const std::string& path) : saved(fs::current_path()) { fs::current_path(fs::u8path(path)); }
  ~InDirectory() { fs::current_path(saved, ignored); }
  fs::path saved;
  std::error_code ignored;
};

inline void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream out(fs::u8path(path), std::ios::binary | std::ios::trunc);
  if (!out.write(bytes.data(), bytes.size())) throw std::runtime_error("cannot write " + path);
}

inline std::string ReadFile(const std::string& path) {
  std::ostringstream bytes;
  bytes << std::ifstream(fs::u8path(path), std::ios::binary).rdbuf();
  return bytes.str();
}

inline std::string ReadAll(io::Input* input) {  // from the position to the end
  std::string all;
  char buffer[4096];
  for (int64_t got; (got = input->Read(buffer, sizeof buffer)) > 0;) all.append(buffer, got);
  return all;
}

inline std::string Joined(const Strings& parts) {
  std::string out;
  for (const std::string& part : parts) out += (out.empty() ? "" : "|") + part;
  return out;
}

// Open descriptors on Linux (under Wine the folder lists the emulator's
// own); elsewhere the number the runtime hands out next, which a leak raises.
inline int DescriptorMark() {
  std::error_code error;
  int count = 0;
  for (fs::directory_iterator it(OnWindows() ? "" : "/proc/self/fd", error), end; !error && it != end;
       it.increment(error)) {
    ++count;
  }
  if (!error) return count;
  static TempDir dir;
  static const std::string probe = (WriteFile(dir.Join("probe"), ""), dir.Join("probe"));
  const int fd = platform::calls.Open(probe, platform::Access::kRead);
  if (fd != -1) platform::calls.Close(fd);
  return fd;
}

// Views of the files below path in this process; -1 where it cannot be told.
inline int Mappings(const std::string& path) {
  if (OnWindows()) return -1;
  std::ifstream maps("/proc/self/maps");
  int count = 0;
  for (std::string line; std::getline(maps, line);) {
    count += line.find(fs::canonical(fs::u8path(path)).u8string()) != std::string::npos;
  }
  return count;
}

inline void ExpectNoLeak(const std::function<void()>& body) {
  body();  // first-use allocations of the runtime are no leak
  const int before = DescriptorMark();
  for (int round = 0; round < 20; ++round) body();
  EXPECT_EQ(DescriptorMark(), before) << "descriptors left open";
}

// Every line logged while the object lives.
struct LogCapture {
  struct Line { unsigned int channel; int level; bool is_error; std::string message; };
  LogCapture() {
    log::SetSink([](void* context, unsigned channel, int level, bool is_error, const char* text) {
      static_cast<LogCapture*>(context)->lines.push_back({channel, level, is_error, text});
    }, this);
  }
  ~LogCapture() { log::SetSink(nullptr, nullptr); }
  Strings Errors() const {
    Strings errors;
    for (const Line& line : lines) line.is_error ? errors.push_back(line.message) : void();
    return errors;
  }
  std::vector<Line> lines;
};

// Zip records with every field under the test's control.
using ZipRecord = zip::Record;
using ZipWriter = zip::Writer;

struct ZipUnloader {
  void operator()(io::Opener* opener) const { io::UnloadZip(opener); }
};
using ZipPtr = std::unique_ptr<io::Opener, ZipUnloader>;

inline ZipPtr LoadBytes(const std::string& bytes, io::OpenerType type = io::OpenerTypeCFile) {
  static TempDir dir;
  static int count = 0;
  // A new name each time: the mapped back-end keeps views by path.
  const std::string path = dir.Join(std::to_string(++count) + ".zip");
  WriteFile(path, bytes);
  return ZipPtr(io::LoadZip(path, io::GetOpener(type)));
}

inline std::string Contents(io::Opener* zip, const std::string& path) {
  std::unique_ptr<io::Input> input(zip->OpenInput(path));
  return input ? ReadAll(input.get()) : "<none>";
}

// "name=contents" of every file of a recursive ListFiles, joined by "|"; ""
// for no archive.
inline std::string Dump(io::Opener* zip) {
  Strings files;
  if (zip) zip->ListFiles("", true, files);
  for (std::string& name : files) name += "=" + Contents(zip, name);
  return Joined(files);
}

// Seconds of a local wall-clock time, as DOS times are read.
inline int64_t LocalTime(int year, int month, int day, int hour, int minute, int second) {
  std::tm tm = {};
  tm.tm_year = year - 1900, tm.tm_mon = month - 1, tm.tm_mday = day;
  tm.tm_hour = hour, tm.tm_min = minute, tm.tm_sec = second;
  return platform::calls.LocalTime(&tm);
}

}  // namespace velm::test

#endif  // VELMIO_TESTS_SUPPORT_SUPPORT_H_
