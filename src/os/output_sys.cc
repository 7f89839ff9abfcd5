#include "os/output_sys.h"

#include <utility>

namespace velm::io {

OutputSys::OutputSys(std::unique_ptr<StreamSys> stream)
    : stream(std::move(stream)) {}

OutputSys::~OutputSys() = default;

int64_t OutputSys::Tell() { return stream->Tell(); }
int32_t OutputSys::Seek(int64_t offset, int32_t whence) {
  return stream->Seek(offset, whence);
}
int64_t OutputSys::GetSize() const { return stream->GetSize(); }
bool OutputSys::IsEOF() { return stream->IsEOF(); }
void OutputSys::Close() { stream->Close(); }
bool OutputSys::IsClosed() const { return stream->IsClosed(); }
const std::string& OutputSys::GetPath() const { return stream->GetPath(); }
Opener* OutputSys::GetOpener() const { return stream->GetOpener(); }
bool OutputSys::GetDescriptor(int* fd, int64_t* offset) {
  return stream->GetDescriptor(fd, offset);
}
int64_t OutputSys::Write(const void* buffer, size_t count) {
  return stream->Write(buffer, count);
}

}  // namespace velm::io
