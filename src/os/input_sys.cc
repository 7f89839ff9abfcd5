#include "os/input_sys.h"

#include <utility>

#include <velm/io/opener>

namespace velm::io {

InputSys::InputSys(std::unique_ptr<StreamSys> stream)
    : stream(std::move(stream)) {}

InputSys::~InputSys() = default;

int64_t InputSys::Tell() { return stream->Tell(); }
int32_t InputSys::Seek(int64_t offset, int32_t whence) {
  return stream->Seek(offset, whence);
}
int64_t InputSys::GetSize() const { return stream->GetSize(); }
bool InputSys::IsEOF() { return stream->IsEOF(); }
void InputSys::Close() { stream->Close(); }
bool InputSys::IsClosed() const { return stream->IsClosed(); }
const std::string& InputSys::GetPath() const { return stream->GetPath(); }
Opener* InputSys::GetOpener() const { return stream->GetOpener(); }
bool InputSys::GetDescriptor(int* fd, int64_t* offset) {
  return stream->GetDescriptor(fd, offset);
}
int64_t InputSys::Read(void* buffer, size_t count) {
  return stream->Read(buffer, count);
}

Input* InputSys::Clone() {
  Opener* opener = stream->GetOpener();
  if (opener == nullptr) return nullptr;
  return opener->OpenInput(stream->GetPath());
}

}  // namespace velm::io
