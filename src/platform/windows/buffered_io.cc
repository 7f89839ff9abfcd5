#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/descriptor.h"
#include "platform/native.h"
#include "platform/platform.h"
#include "platform/windows/wide_text.h"

namespace velm::platform::native {

std::FILE* OpenBuffered(const std::string& path, Access access) {
  windows::WidePath wide(path);
  if (wide.IsRefused()) return nullptr;
  return _wfopen(wide.text, access == Access::kWrite ? L"wb" : L"rb");
}

std::FILE* ReopenBuffered(std::FILE* file) {
  Descriptor fd(Reopen(_fileno(file)));
  if (!fd) return nullptr;
  std::FILE* copy = _fdopen(fd.get(), "rb");
  // From here the FILE owns the descriptor.
  if (copy != nullptr) fd.release();
  return copy;
}

int SeekBuffered(std::FILE* file, std::int64_t offset, int whence) {
  const int result = _fseeki64(file, offset, whence);
  // A seek that succeeds ends the end-of-file state, as C says and Windows
  // does; Wine's runtime keeps it. Cleared only where no error is recorded,
  // which clearerr would drop as well.
  if (result == 0 && !std::ferror(file)) std::clearerr(file);
  return result;
}

std::int64_t TellBuffered(std::FILE* file) { return _ftelli64(file); }

int BufferedDescriptor(std::FILE* file) { return _fileno(file); }

}  // namespace velm::platform::native
