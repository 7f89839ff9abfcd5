#include "zip/input_zip.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "zip/opener_zip.h"

namespace velm::io {

namespace {

// base + offset, or false where the sum leaves the range of int64_t.
bool AddOffset(int64_t base, int64_t offset, int64_t* sum) {
  if (offset > 0 && base > std::numeric_limits<int64_t>::max() - offset)
    return false;
  if (offset < 0 && base < std::numeric_limits<int64_t>::min() - offset)
    return false;
  *sum = base + offset;
  return true;
}

}  // namespace

InputZip::InputZip(const std::string& path, OpenerZip* opener, uint64_t size)
    : path(path), opener(opener), size(size) {}

InputZip::~InputZip() { Close(); }

int64_t InputZip::Tell() {
  if (slice) return slice->Tell() - static_cast<int64_t>(start);
  if (data) return static_cast<int64_t>(position);
  return 0;
}

int32_t InputZip::Seek(int64_t offset, int32_t whence) {
  if (!slice && !data) return -1;
  // Both kinds judge the target in member coordinates. A deflated member
  // refuses a relative seek onto its very end, so Seek(0, 1) there gives -1,
  // on purpose: hosts rely on it. Whence 0 and 2 reach the end.
  const int64_t length = static_cast<int64_t>(size);
  int64_t target = 0;
  switch (whence) {
    case 0:
      if (offset < 0 || offset > length) return -1;
      target = offset;
      break;
    case 1:
      if (!AddOffset(Tell(), offset, &target)) return -1;
      if (target < 0 || target > length || (data && target == length)) return -1;
      break;
    case 2:
      if (offset > 0 || offset < -length) return -1;
      target = length + offset;
      break;
    default:
      return -1;
  }
  if (slice) {
    return slice->Seek(static_cast<int64_t>(start) + target, 0) < 0 ? -1 : 0;
  }
  position = static_cast<uint64_t>(target);
  return 0;
}

int64_t InputZip::GetSize() const { return static_cast<int64_t>(size); }

bool InputZip::IsEOF() {
  if (slice) return slice->Tell() >= static_cast<int64_t>(start + size);
  if (data) return position >= size;
  return true;
}

void InputZip::Close() {
  slice.reset();
  // Drops this stream's reference only; clones keep the bytes alive.
  data.reset();
}

bool InputZip::IsClosed() const { return !slice && !data; }

const std::string& InputZip::GetPath() const { return path; }

Opener* InputZip::GetOpener() const { return opener; }

bool InputZip::GetDescriptor(int* fd, int64_t* offset) {
  if (!slice) return false;
  int64_t slice_offset = 0;
  if (!slice->GetDescriptor(fd, &slice_offset)) return false;
  *offset = slice_offset + static_cast<int64_t>(start);
  return true;
}

int64_t InputZip::Read(void* buffer, size_t count) {
  if (slice) {
    const int64_t p = slice->Tell();
    const int64_t e = static_cast<int64_t>(start + size);
    // A slice that failed to seek or to tell its place would read bytes of
    // another record: nothing rather than a lie.
    if (p < static_cast<int64_t>(start) || p >= e) return 0;
    if (count >= static_cast<uint64_t>(e - p)) count = static_cast<size_t>(e - p);
    return slice->Read(buffer, count);
  }
  if (data) {
    if (position >= size) return 0;
    const uint64_t left = size - position;
    if (count > left) count = static_cast<size_t>(left);
    // Bytes that inflating did not produce read as zeros.
    const uint64_t produced = position < held ? held - position : 0;
    const size_t copied =
        static_cast<size_t>(std::min<uint64_t>(count, produced));
    if (copied > 0) std::memcpy(buffer, data.get() + position, copied);
    if (count > copied) {
      std::memset(static_cast<unsigned char*>(buffer) + copied, 0,
                  count - copied);
    }
    position += count;
    return static_cast<int64_t>(count);
  }
  return 0;
}

Input* InputZip::Clone() {
  if (slice) return opener->OpenInput(path);
  if (data) {
    auto copy = std::make_unique<InputZip>(path, opener, size);
    copy->data = data;
    copy->held = held;
    return copy.release();
  }
  return nullptr;
}

}  // namespace velm::io
