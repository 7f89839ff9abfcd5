#include "cfile/output_cfile.h"

#include <utility>

namespace velm::io {

OutputCFile::OutputCFile(std::unique_ptr<StreamCFile> stream)
    : stream(std::move(stream)) {}

OutputCFile::~OutputCFile() = default;

int64_t OutputCFile::Tell() { return stream->Tell(); }

int32_t OutputCFile::Seek(int64_t offset, int32_t whence) {
  return stream->Seek(offset, whence);
}

int64_t OutputCFile::GetSize() const { return stream->GetSize(); }

bool OutputCFile::IsEOF() { return stream->IsEOF(); }

void OutputCFile::Close() { stream->Close(); }

bool OutputCFile::IsClosed() const { return stream->IsClosed(); }

const std::string& OutputCFile::GetPath() const { return stream->GetPath(); }

Opener* OutputCFile::GetOpener() const { return stream->GetOpener(); }

bool OutputCFile::GetDescriptor(int* fd, int64_t* offset) {
  return stream->GetDescriptor(fd, offset);
}

int64_t OutputCFile::Write(const void* buffer, size_t count) {
  return stream->Write(buffer, count);
}

}  // namespace velm::io
