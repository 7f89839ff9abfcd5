// pack: an archive of a directory that the library reads completely. Every
// local header carries the real sizes and CRC-32 (no data descriptor; Zip64
// fields only where sizes or offsets need them), names use "/", and a central
// directory follows for other tools.
#include <algorithm>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "console.h"
#include "file_attributes.h"
#include "input_reading.h"
#include "member_compressor.h"
#include "messages.h"
#include "ordered_work.h"
#include "progress.h"
#include "zip_writer.h"

namespace tool {
namespace {

namespace io = velm::io;
namespace zip = velm::zip;

constexpr uint32_t kDosDirectoryAttribute = 0x10;
// zlib's and Info-ZIP's default: on real assets level 9 took about twice as
// long for output under 1% smaller.
constexpr int kDefaultLevel = 6;
// Members read and compressed ahead of the one being written, and the bytes
// they may hold: enough to keep every core busy behind one large member
// (fewer than 256 ahead left a core idle on trees of small files), little
// enough to bound the memory.
constexpr size_t kMembersAhead = 256;
constexpr uint64_t kBytesAhead = 64 << 20;
constexpr size_t kWritePiece = 1 << 20;

struct Source {
  std::string name;  // member name, "/" between levels, "/" behind a directory
  std::string path;  // on disk
};

// Every file and directory below directory, depth first, siblings sorted.
// Links are not followed: one to a directory above would never end.
void Collect(io::Opener& sys, const std::string& directory, const std::string& prefix,
             const std::string& skip, std::vector<Source>& out, size_t& links) {
  std::vector<std::string> children;
  sys.List(directory, children);
  std::sort(children.begin(), children.end());
  for (const std::string& child : children) {
    std::string name = prefix + child.substr(directory.size() + 1);
    if (child == skip) continue;
    if (IsLink(child)) {
      Warning("skipping %s: a symbolic link", child.c_str());
      ++links;
    } else if (sys.IsDirectory(child)) {
      out.push_back({name + "/", child});
      Collect(sys, child, name + "/", skip, out, links);
    } else {
      out.push_back({name, child});
    }
  }
}

uint32_t DosDateTime(int64_t seconds) {
  std::time_t time = static_cast<std::time_t>(seconds < 0 ? 0 : seconds);
  const std::tm* local = std::localtime(&time);
  if (local == nullptr || local->tm_year < 80) return (1 << 5 | 1) << 16;  // 1980-01-01
  uint32_t date =
      static_cast<uint32_t>((local->tm_year - 80) << 9 | (local->tm_mon + 1) << 5 | local->tm_mday);
  uint32_t clock =
      static_cast<uint32_t>(local->tm_hour << 11 | local->tm_min << 5 | local->tm_sec / 2);
  return date << 16 | clock;
}

bool HasExtension(const std::string& name, const std::vector<std::string>& extensions) {
  std::string::size_type dot = name.rfind('.');
  if (dot == std::string::npos || name.find('/', dot) != std::string::npos) return false;
  return std::find(extensions.begin(), extensions.end(), name.substr(dot + 1)) != extensions.end();
}

// A source read and compressed on a worker thread; record is null where it
// could not be read.
struct Prepared {
  std::unique_ptr<zip::Record> record;
  uint64_t bytes = 0;     // read from the file
  int64_t modified = -1;  // seconds; made a DOS time by the writing thread
};

Prepared Prepare(io::Opener& sys, const Source& source, const Options& options) {
  Prepared prepared;
  prepared.modified = sys.GetModifiedTime(source.path);
  const bool directory = source.name.back() == '/';
  std::string data;
  if (!directory) {
    std::unique_ptr<io::Input> input(sys.OpenInput(source.path));
    if (!input || !ReadAll(*input, data)) return prepared;
  }
  prepared.bytes = data.size();
  prepared.record.reset(new zip::Record(source.name, std::move(data)));
  zip::Record& record = *prepared.record;
  if (directory) {
    record.external_attributes = kDosDirectoryAttribute;
  } else {
    record.version = zip::kVersionStored;
    if (!HasExtension(source.name, options.store)) {
      std::string packed = Compress(record.data, options.level < 0 ? kDefaultLevel : options.level);
      if (packed.size() < record.data.size()) {
        record.version = zip::kVersionDeflated;
        record.method = zip::kMethodDeflated;
        record.data.swap(packed);
        record.compress_size = record.data.size();
      }
    }
  }
  if (std::any_of(record.name.begin(), record.name.end(),
                  [](char c) { return static_cast<unsigned char>(c) >= 0x80; })) {
    record.flags |= zip::kFlagUtf8;
  }
  return prepared;
}

// Writes out what the writer appended since the last call.
bool Flush(zip::Writer& writer, io::Output& output) {
  const std::string bytes = writer.Take();
  return output.Write(bytes.data(), bytes.size()) == static_cast<int64_t>(bytes.size());
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
  size_t links = 0;
  Collect(sys, directory, "", archive_path, sources, links);

  std::unique_ptr<io::Output> output(sys.OpenOutput(archive_path));
  if (!output) return Error("%s: cannot be created", options.operands[1].c_str());
  zip::Writer writer;
  Progress progress("packed", sources.size(), IsTerminal(stderr));
  // Members are read and compressed on every core, a few ahead of the one
  // being written, and written in order.
  bool ok = RunInOrder<Prepared>(
      sources.size(), kMembersAhead, kBytesAhead,
      [&](size_t i) { return Prepare(sys, sources[i], options); },
      [](const Prepared& prepared) { return prepared.bytes; },
      [&](size_t i, Prepared& prepared) {
        if (!prepared.record) {
          Error("%s: cannot be read", sources[i].path.c_str());
          return false;
        }
        progress.AddBytes(prepared.bytes);
        // localtime, behind the DOS time, is not safe on several threads.
        const uint32_t date_time = DosDateTime(prepared.modified);
        prepared.record->dos_time = static_cast<uint16_t>(date_time);
        prepared.record->dos_date = static_cast<uint16_t>(date_time >> 16);
        writer.Add(*prepared.record);
        prepared.record.reset();
        progress.MemberDone();
        // Written in large pieces: small members would cost a call each.
        return writer.bytes.size() < kWritePiece || Flush(writer, *output);
      });
  ok = ok && Flush(writer.Finish(), *output);
  output->Close();
  if (ok) {
    progress.Finish(0, links);
    return 0;
  }
  sys.RemoveFile(archive_path);
  return Error("%s: not written", options.operands[1].c_str());
}

}  // namespace tool
