// pack: an archive of a directory that the library reads completely. Every
// local header carries the real sizes and CRC-32 (no data descriptor, no
// zip64), names use "/", and a central directory follows for other tools.
#include <algorithm>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include <zlib.h>

#include "commands.h"
#include "input_reading.h"
#include "messages.h"
#include "zip/zip_format.h"

namespace tool {
namespace {

namespace io = velm::io;
namespace zip = velm::zip;

constexpr uint32_t kDosDirectoryAttribute = 0x10;

struct Source {
  std::string name;  // member name, "/" between levels, "/" behind a directory
  std::string path;  // on disk
};

// Every file and directory below directory, depth first, siblings sorted.
void Collect(io::Opener& sys, const std::string& directory, const std::string& prefix,
             const std::string& skip, std::vector<Source>& out) {
  std::vector<std::string> children;
  sys.List(directory, children);
  std::sort(children.begin(), children.end());
  for (const std::string& child : children) {
    std::string name = prefix + child.substr(directory.size() + 1);
    if (child == skip) continue;
    if (sys.IsDirectory(child)) {
      out.push_back({name + "/", child});
      Collect(sys, child, name + "/", skip, out);
    } else {
      out.push_back({name, child});
    }
  }
}

uint32_t DosDateTime(int64_t seconds) {
  std::time_t time = static_cast<std::time_t>(seconds < 0 ? 0 : seconds);
  const std::tm* local = std::localtime(&time);
  if (local == nullptr || local->tm_year < 80) return (1 << 5 | 1) << 16;  // 1980-01-01
  uint32_t date = static_cast<uint32_t>((local->tm_year - 80) << 9 | (local->tm_mon + 1) << 5 |
                                        local->tm_mday);
  uint32_t clock = static_cast<uint32_t>(local->tm_hour << 11 | local->tm_min << 5 |
                                         local->tm_sec / 2);
  return date << 16 | clock;
}

bool Deflate(const std::string& data, std::string& out) {
  z_stream stream{};
  if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8,
                   Z_DEFAULT_STRATEGY) != Z_OK) {
    return false;
  }
  out.resize(deflateBound(&stream, static_cast<uLong>(data.size())));
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  stream.avail_in = static_cast<uInt>(data.size());
  stream.next_out = reinterpret_cast<Bytef*>(&out[0]);
  stream.avail_out = static_cast<uInt>(out.size());
  int result = deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return result == Z_STREAM_END;
}

bool HasExtension(const std::string& name, const std::vector<std::string>& extensions) {
  std::string::size_type dot = name.rfind('.');
  if (dot == std::string::npos || name.find('/', dot) != std::string::npos) return false;
  return std::find(extensions.begin(), extensions.end(), name.substr(dot + 1)) !=
         extensions.end();
}

// One member's header fields, shared by its local and central records.
struct Member {
  std::string name;
  uint16_t version = zip::kVersionDeflated;
  uint16_t flags = 0;
  uint16_t method = zip::kMethodStored;
  uint32_t date_time = 0;
  uint32_t crc = 0;
  uint32_t compressed_size = 0;
  uint32_t uncompressed_size = 0;
  uint32_t offset = 0;
};

void PutCommonFields(std::string& out, const Member& member) {
  zip::Put(out, member.version, 2);
  zip::Put(out, member.flags, 2);
  zip::Put(out, member.method, 2);
  zip::Put(out, member.date_time, 4);
  zip::Put(out, member.crc, 4);
  zip::Put(out, member.compressed_size, 4);
  zip::Put(out, member.uncompressed_size, 4);
  zip::Put(out, member.name.size(), 2);
  zip::Put(out, 0, 2);  // no extra field
}

std::string LocalRecord(const Member& member) {
  std::string out;
  zip::Put(out, zip::kLocalHeader, 4);
  PutCommonFields(out, member);
  return out + member.name;
}

std::string CentralRecord(const Member& member) {
  std::string out;
  zip::Put(out, zip::kCentralHeader, 4);
  zip::Put(out, zip::kVersionDeflated, 2);  // made by: MS-DOS attributes, version 2.0
  PutCommonFields(out, member);
  zip::Put(out, 0, 2);  // comment length
  zip::Put(out, 0, 2);  // disk number
  zip::Put(out, 0, 2);  // internal attributes
  zip::Put(out, member.name.back() == '/' ? kDosDirectoryAttribute : 0, 4);
  zip::Put(out, member.offset, 4);
  return out + member.name;
}

std::string EndRecord(size_t count, uint64_t directory_size, uint64_t directory_offset) {
  std::string out;
  zip::Put(out, zip::kEndRecord, 4);
  zip::Put(out, 0, 4);  // disk numbers
  zip::Put(out, count, 2);
  zip::Put(out, count, 2);
  zip::Put(out, directory_size, 4);
  zip::Put(out, directory_offset, 4);
  zip::Put(out, 0, 2);  // comment length
  return out;
}

class ArchiveWriter {
 public:
  explicit ArchiveWriter(io::Output& output) : output_(output) {}
  bool Write(const std::string& bytes) {
    if (output_.Write(bytes.data(), bytes.size()) != static_cast<int64_t>(bytes.size())) {
      return false;
    }
    written_ += bytes.size();
    return true;
  }
  uint64_t written() const { return written_; }

 private:
  io::Output& output_;
  uint64_t written_ = 0;
};

// Reads, compresses and writes one source; false after an error line.
bool AddMember(io::Opener& sys, const Source& source, const std::vector<std::string>& store,
               ArchiveWriter& writer, std::vector<Member>& members) {
  Member member;
  member.name = source.name;
  member.offset = static_cast<uint32_t>(writer.written());
  member.date_time = DosDateTime(sys.GetModifiedTime(source.path));
  std::string data;
  std::string packed;
  if (source.name.back() != '/') {
    std::unique_ptr<io::Input> input(sys.OpenInput(source.path));
    if (!input || !ReadAll(*input, data)) {
      Error("%s: cannot be read", source.path.c_str());
      return false;
    }
    if (data.size() >= zip::kMax32) {
      Error("%s: too large for an archive without zip64", source.path.c_str());
      return false;
    }
    member.crc = static_cast<uint32_t>(
        crc32(crc32(0, Z_NULL, 0), reinterpret_cast<const Bytef*>(data.data()),
              static_cast<uInt>(data.size())));
    member.uncompressed_size = static_cast<uint32_t>(data.size());
    if (!HasExtension(source.name, store) && Deflate(data, packed) && packed.size() < data.size()) {
      member.method = zip::kMethodDeflated;
      data.swap(packed);
    } else {
      member.version = zip::kVersionStored;
    }
    member.compressed_size = static_cast<uint32_t>(data.size());
  }
  if (std::any_of(member.name.begin(), member.name.end(),
                  [](char c) { return static_cast<unsigned char>(c) >= 0x80; })) {
    member.flags |= zip::kFlagUtf8;
  }
  members.push_back(member);
  return writer.Write(LocalRecord(member)) && writer.Write(data);
}

}  // namespace

int RunPack(const Options& options) {
  io::Opener& sys = *io::GetOpener(io::OpenerTypeSys);
  std::string directory;
  std::string archive_path;
  if (!sys.StandardizePath(options.operands[0], directory) || !sys.IsDirectory(directory)) {
    return Error("%s: no such directory", options.operands[0].c_str());
  }
  if (!sys.StandardizePath(options.operands[1], archive_path)) {
    return Error("%s: not a valid path", options.operands[1].c_str());
  }
  std::vector<Source> sources;
  Collect(sys, directory, "", archive_path, sources);
  if (sources.size() >= zip::kMax16) return Error("too many members for an archive without zip64");

  std::unique_ptr<io::Output> output(sys.OpenOutput(archive_path));
  if (!output) return Error("%s: cannot be created", options.operands[1].c_str());
  ArchiveWriter writer(*output);
  std::vector<Member> members;
  bool ok = true;
  for (const Source& source : sources) {
    ok = AddMember(sys, source, options.store, writer, members);
    if (!ok) break;
  }
  uint64_t directory_offset = writer.written();
  for (size_t i = 0; ok && i < members.size(); ++i) ok = writer.Write(CentralRecord(members[i]));
  ok = ok && writer.written() < zip::kMax32 &&
       writer.Write(EndRecord(members.size(), writer.written() - directory_offset,
                              directory_offset));
  output->Close();
  if (ok) return 0;
  sys.RemoveFile(archive_path);
  return Error("%s: not written", options.operands[1].c_str());
}

}  // namespace tool
