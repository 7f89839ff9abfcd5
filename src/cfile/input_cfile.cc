#include "cfile/input_cfile.h"

#include <utility>

#include <velm/io/opener>

namespace velm::io {

InputCFile::InputCFile(std::unique_ptr<StreamCFile> stream)
    : stream(std::move(stream)) {}

InputCFile::~InputCFile() = default;

int64_t InputCFile::Tell() { return stream->Tell(); }

int32_t InputCFile::Seek(int64_t offset, int32_t whence) {
  return stream->Seek(offset, whence);
}

int64_t InputCFile::GetSize() const { return stream->GetSize(); }

bool InputCFile::IsEOF() { return stream->IsEOF(); }

void InputCFile::Close() { stream->Close(); }

bool InputCFile::IsClosed() const { return stream->IsClosed(); }

const std::string& InputCFile::GetPath() const { return stream->GetPath(); }

Opener* InputCFile::GetOpener() const { return stream->GetOpener(); }

bool InputCFile::GetDescriptor(int* fd, int64_t* offset) {
  return stream->GetDescriptor(fd, offset);
}

int64_t InputCFile::Read(void* buffer, size_t count) {
  return stream->Read(buffer, count);
}

Input* InputCFile::Clone() {
  return stream->GetOpener()->OpenInput(stream->GetPath());
}

}  // namespace velm::io
