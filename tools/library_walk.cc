#include "library_walk.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include "input_reading.h"
#include "messages.h"
#include "zip/zip_format.h"

namespace tool {
namespace {

namespace io = velm::io;
namespace zip = velm::zip;

const char kScanLine[] = "Find zipped file ";
const char kScanFields[] = ", compress_method ";

// The archive stream, forwarded call by call: the library reads ahead only
// through a stream of its own, so the walk moves this one's position, which
// the scan lines are matched with. The price: the tool's loads read without
// read-ahead, and through mmap without the view.
class WatchedArchive : public io::Input {
 public:
  explicit WatchedArchive(std::unique_ptr<io::Input> inner) : inner_(std::move(inner)) {}
  int64_t Tell() override { return inner_->Tell(); }
  int32_t Seek(int64_t offset, int32_t whence) override { return inner_->Seek(offset, whence); }
  int64_t GetSize() const override { return inner_->GetSize(); }
  bool IsEOF() override { return inner_->IsEOF(); }
  void Close() override { inner_->Close(); }
  bool IsClosed() const override { return inner_->IsClosed(); }
  const std::string& GetPath() const override { return inner_->GetPath(); }
  io::Opener* GetOpener() const override { return inner_->GetOpener(); }
  bool GetDescriptor(int* fd, int64_t* offset) override {
    return inner_->GetDescriptor(fd, offset);
  }
  int64_t Read(void* buffer, size_t count) override { return inner_->Read(buffer, count); }
  io::Input* Clone() override { return inner_->Clone(); }

 private:
  std::unique_ptr<io::Input> inner_;
};

// Forwards everything to the back-end that holds the archive, and keeps the
// archive stream that LoadZip opens, so that its position can be asked for.
class WatchedContainer : public io::Opener {
 public:
  explicit WatchedContainer(io::Opener& inner) : inner_(inner) {}
  io::Input* archive() const { return archive_; }

  io::OpenerType GetType() const override { return inner_.GetType(); }
  io::Input* OpenInput(const std::string& path) override {
    std::unique_ptr<io::Input> opened(inner_.OpenInput(path));
    return archive_ = opened ? new WatchedArchive(std::move(opened)) : nullptr;
  }
  io::Output* OpenOutput(const std::string& path) override { return inner_.OpenOutput(path); }
  const std::string& GetName() const override { return inner_.GetName(); }
  const std::string& GetRoot() const override { return inner_.GetRoot(); }
  bool IsFile(const std::string& path) override { return inner_.IsFile(path); }
  bool IsDirectory(const std::string& path) override { return inner_.IsDirectory(path); }
  bool StandardizePath(const std::string& path, std::string& out) override {
    return inner_.StandardizePath(path, out);
  }
  int64_t GetModifiedTime(const std::string& path) override { return inner_.GetModifiedTime(path); }
  bool CreateDirectories(const std::string& path) override {
    return inner_.CreateDirectories(path);
  }
  bool RemoveFile(const std::string& path) override { return inner_.RemoveFile(path); }
  bool RemoveDirectory(const std::string& path) override { return inner_.RemoveDirectory(path); }
  void List(const std::string& path, std::vector<std::string>& out) override {
    inner_.List(path, out);
  }
  void ListFiles(const std::string& path, bool recursive, std::vector<std::string>& out) override {
    inner_.ListFiles(path, recursive, out);
  }

 private:
  io::Opener& inner_;
  io::Input* archive_ = nullptr;  // owned by LoadZip, then by the archive
};

struct Watch {
  WatchedContainer& container;
  LibraryWalk& walk;
};

// A scan line comes right after the library has read a record, when the
// archive stream stands behind it; the record's header starts where the one
// before ended.
void OnScanLine(void* context, const char* line) {
  Watch& watch = *static_cast<Watch*>(context);
  if (std::strncmp(line, kScanLine, sizeof kScanLine - 1) != 0) return;
  const char* fields = nullptr;
  for (const char* at = std::strstr(line, kScanFields); at; at = std::strstr(at + 1, kScanFields)) {
    fields = at;
  }
  long long method = 0, compressed = 0, uncompressed = 0, flags = 0, offset = 0;
  io::Input* archive = watch.container.archive();
  const int64_t position = archive != nullptr ? archive->Tell() : -1;
  if (fields == nullptr || position < 0 ||
      std::sscanf(fields,
                  ", compress_method %lld, compress_size %lld, uncompress_size %lld, flags "
                  "%lld, offset %lld",
                  &method, &compressed, &uncompressed, &flags, &offset) != 5) {
    watch.walk.followed = false;
    return;
  }
  WalkRecord record;
  record.name.assign(line + sizeof kScanLine - 1, fields);
  record.flags = static_cast<uint16_t>(flags);
  record.start = watch.walk.end;
  record.end = static_cast<uint64_t>(position);
  watch.walk.end = record.end;
  watch.walk.records.push_back(std::move(record));
}

}  // namespace

io::Opener* LoadWatched(io::Opener& container, const std::string& path, LibraryWalk& walk) {
  WatchedContainer watched(container);
  Watch watch{watched, walk};
  walk = LibraryWalk();
  ListenToDetails(OnScanLine, &watch);
  io::Opener* archive = io::LoadZip(path, &watched);
  ListenToDetails(nullptr, nullptr);
  return archive;
}

bool WalkReadsWhole(io::Input& file, const LibraryWalk& walk) {
  const int64_t size = file.GetSize();
  if (size >= 0 && walk.end >= static_cast<uint64_t>(size)) return true;
  std::string signature;
  if (!ReadAt(file, walk.end, 4, signature)) return false;
  const uint64_t found = zip::Get(Bytes(signature), 4);
  return found == zip::kCentralHeader || found == zip::kEndRecord || found == zip::kZip64EndRecord;
}

}  // namespace tool
