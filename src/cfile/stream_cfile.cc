#include "cfile/stream_cfile.h"

#include <cstdio>

#include "os/wide_path.h"
#include "platform/platform.h"

namespace velm::io {

StreamCFile::StreamCFile() = default;

StreamCFile::~StreamCFile() { Close(); }

int64_t StreamCFile::Tell() {
  if (file == nullptr) return 0;
  return platform::_ftelli64(file);
}

int32_t StreamCFile::Seek(int64_t offset, int32_t whence) {
  if (file == nullptr) return -1;
  // The Microsoft runtime ends the process on any other whence.
  if (whence != SEEK_SET && whence != SEEK_CUR && whence != SEEK_END) return -1;
  return platform::_fseeki64(file, offset, whence);
}

int64_t StreamCFile::GetSize() const { return size; }

bool StreamCFile::IsEOF() {
  if (file == nullptr) return true;
  return platform::feof(file) != 0;
}

void StreamCFile::Close() {
  if (file == nullptr) return;
  // Nothing can be done about a failing close; the FILE is gone either way.
  platform::fclose(file);
  file = nullptr;
}

bool StreamCFile::IsClosed() const { return file == nullptr; }

const std::string& StreamCFile::GetPath() const { return path; }

Opener* StreamCFile::GetOpener() const { return opener; }

bool StreamCFile::GetDescriptor(int* fd, int64_t* offset) {
  if (file == nullptr) return false;
  *fd = platform::_fileno(file);
  *offset = 0;
  return *fd != -1;
}

int64_t StreamCFile::Read(void* buffer, size_t count) {
  if (file == nullptr) return 0;
  return static_cast<int64_t>(platform::fread(buffer, 1, count, file));
}

int64_t StreamCFile::Write(const void* buffer, size_t count) {
  if (file == nullptr) return 0;
  return static_cast<int64_t>(platform::fwrite(buffer, 1, count, file));
}

std::FILE* OpenStdioFile(const std::string& path, bool write) {
  WidePath wide(path.c_str());
  return platform::_wfopen(wide.text, write ? VELM_WIDE("wb") : VELM_WIDE("rb"));
}

namespace {
struct FileCloser {
  void operator()(std::FILE* file) const { platform::fclose(file); }
};
}  // namespace

std::unique_ptr<StreamCFile> CreateStreamCFile(Opener* opener,
                                               std::FILE* file,
                                               const std::string& path) {
  if (file == nullptr) return nullptr;
  // Closes the file if the stream cannot be allocated.
  std::unique_ptr<std::FILE, FileCloser> guard(file);
  auto stream = std::make_unique<StreamCFile>();
  stream->file = guard.release();
  stream->path = path;
  // The seeks cannot fail on a file that just opened; a failing tell leaves
  // -1 as the size, and the stream is made all the same.
  platform::_fseeki64(file, 0, SEEK_END);
  stream->size = platform::_ftelli64(file);
  platform::_fseeki64(file, 0, SEEK_SET);
  stream->opener = opener;
  return stream;
}

}  // namespace velm::io
