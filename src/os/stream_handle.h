#ifndef VELMIO_OS_STREAM_HANDLE_H_
#define VELMIO_OS_STREAM_HANDLE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include <velm/io/opener>
#include <velm/io/stream>

namespace velm::io {

// A stream that is a handle over one state object, its sole owner: every
// operation forwards to the state, and deleting the handle deletes the state,
// which closes the file. The descriptor and stdio back-ends build their
// streams from this.
template <typename Contract, typename State>
class StreamHandle : public Contract {
 public:
  explicit StreamHandle(std::unique_ptr<State> state) : stream(std::move(state)) {}
  StreamHandle(const StreamHandle&) = delete;
  StreamHandle& operator=(const StreamHandle&) = delete;

  int64_t Tell() override { return stream->Tell(); }
  int32_t Seek(int64_t offset, int32_t whence) override {
    return stream->Seek(offset, whence);
  }
  int64_t GetSize() const override { return stream->GetSize(); }
  bool IsEOF() override { return stream->IsEOF(); }
  void Close() override { stream->Close(); }
  bool IsClosed() const override { return stream->IsClosed(); }
  const std::string& GetPath() const override { return stream->GetPath(); }
  Opener* GetOpener() const override { return stream->GetOpener(); }
  bool GetDescriptor(int* fd, int64_t* offset) override {
    return stream->GetDescriptor(fd, offset);
  }

 protected:
  std::unique_ptr<State> stream;
};

template <typename State>
class InputHandle : public StreamHandle<Input, State> {
 public:
  using StreamHandle<Input, State>::StreamHandle;

  int64_t Read(void* buffer, size_t count) override {
    return this->stream->Read(buffer, count);
  }

  // A second, separate open by path through the stream's Opener, so a closed
  // stream can be cloned too.
  Input* Clone() override {
    Opener* opener = this->stream->GetOpener();
    return opener != nullptr ? opener->OpenInput(this->stream->GetPath()) : nullptr;
  }
};

template <typename State>
class OutputHandle : public StreamHandle<Output, State> {
 public:
  using StreamHandle<Output, State>::StreamHandle;

  int64_t Write(const void* buffer, size_t count) override {
    return this->stream->Write(buffer, count);
  }
};

}  // namespace velm::io

#endif  // VELMIO_OS_STREAM_HANDLE_H_
