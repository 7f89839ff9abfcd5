// check: what the central directory says the archive holds, against what the
// library indexes and reads. The library walks local headers from offset 0
// and nothing else, so the reasons it misses a member lie in those headers
// and in the directory's records.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include <zlib.h>

#include "archive_chain.h"
#include "central_directory.h"
#include "commands.h"
#include "input_reading.h"
#include "member_name.h"
#include "messages.h"
#include "zip/zip_format.h"

namespace tool {
namespace {

namespace io = velm::io;
namespace zip = velm::zip;

struct Finding {
  std::string outcome;  // empty while the library sees and reads the member whole
  std::vector<std::string> reasons;
};

std::string Bytes(uint64_t count) { return std::to_string(count) + " bytes"; }

// Walks the records in file order as the library does, and notes why the walk
// ends before a member, or what in a member's own record stands in the way.
void TraceWalk(io::Input& file, const std::vector<CentralEntry>& entries,
               std::vector<Finding>& findings) {
  std::vector<size_t> order(entries.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&entries](size_t a, size_t b) {
    return entries[a].header_offset < entries[b].header_offset;
  });
  std::set<std::string> names;
  std::string walk_ended;
  uint64_t expected = 0, descriptor_room = 0;
  for (size_t index : order) {
    const CentralEntry& entry = entries[index];
    std::vector<std::string>& reasons = findings[index].reasons;
    if (!names.insert(entry.name).second) {
      reasons.push_back("duplicate name: the library keeps the first record");
      findings[index].outcome = "not seen";
    }
    auto end_walk = [&](const std::string& why) {
      walk_ended = why;
      reasons.push_back(why);
    };
    LocalHeader local;
    if (!walk_ended.empty()) {
      reasons.push_back(walk_ended);
      continue;
    }
    // A streamed record's data descriptor, 12 to 24 bytes, may lie between.
    if (entry.header_offset < expected || entry.header_offset > expected + descriptor_room) {
      end_walk(expected == 0 ? "stub of " + Bytes(entry.header_offset) + " before the first record"
                             : "the walk of local headers ends at offset " +
                                   std::to_string(expected) + ", before this record");
      continue;
    }
    if (!ReadLocalHeader(file, entry.header_offset, local)) {
      end_walk("no local header where the directory points");
      continue;
    }
    // The library takes Zip64 sizes and finds a streamed record's end itself,
    // so the directory's sizes tell where the next record starts.
    descriptor_room =
        (local.flags & zip::kFlagDataDescriptor) != 0 ? zip::kLongestDataDescriptor : 0;
    expected = local.data_offset + entry.compressed_size;
  }
}

void AddRecordReasons(const CentralEntry& entry, Finding& finding) {
  if (entry.flags & zip::kFlagEncrypted) finding.reasons.push_back("encrypted");
  if (entry.method != zip::kMethodStored && entry.method != zip::kMethodDeflated) {
    finding.reasons.push_back("method " + std::to_string(entry.method) +
                              " (only 0 and 8 are read)");
  }
  if (!IsReachableName(entry.name)) finding.reasons.push_back("a name no path reaches");
}

// Opens and reads the member whole through the library.
void ReadThroughLibrary(io::Opener& archive, const CentralEntry& entry, Finding& finding) {
  std::unique_ptr<io::Input> input(archive.OpenInput(entry.name));
  if (!input) {
    finding.outcome = "cannot be opened";
    return;
  }
  if (static_cast<uint64_t>(input->GetSize()) != entry.uncompressed_size) {
    finding.outcome = "the library gives " + std::to_string(input->GetSize()) + " of " +
                      Bytes(entry.uncompressed_size);
    return;
  }
  uLong crc = crc32(0, Z_NULL, 0);
  int64_t count = ReadChunks(*input, [&crc](const char* data, size_t size) {
    crc = crc32(crc, reinterpret_cast<const Bytef*>(data), static_cast<uInt>(size));
    return true;
  });
  if (count < 0 || static_cast<uint64_t>(count) != entry.uncompressed_size) {
    finding.outcome =
        "reads " + std::to_string(count < 0 ? 0 : count) + " of " + Bytes(entry.uncompressed_size);
  } else if (crc != entry.crc32) {
    finding.outcome = "reads other bytes";
    finding.reasons.push_back("CRC-32 does not match");
  }
}

void Observe(io::Opener* archive, const std::set<std::string>& seen, const CentralEntry& entry,
             Finding& finding) {
  if (!finding.outcome.empty()) return;
  bool directory = !entry.name.empty() && entry.name.back() == '/';
  if (archive == nullptr ||
      (directory ? !archive->IsDirectory(entry.name) : seen.count(entry.name) == 0)) {
    finding.outcome = "not seen";
  } else if (!IsReachableName(entry.name)) {
    finding.outcome = "cannot be opened by its name";
  } else if (!directory) {
    ReadThroughLibrary(*archive, entry, finding);
  }
}

}  // namespace

int RunCheck(const Options& options) {
  ArchiveChain chain;
  if (!chain.OpenContainer(options.operands[0], options.via)) return 1;
  const char* name = chain.name().c_str();
  std::unique_ptr<io::Input> file(chain.container().OpenInput(chain.path()));
  if (!file) return Error("%s: cannot be opened", name);
  CentralDirectory directory;
  std::string error;
  if (!ReadCentralDirectory(*file, directory, error)) return Error("%s: %s", name, error.c_str());

  // An archive the library finds nothing in still has its members reported.
  io::Opener* archive = chain.Load();
  std::set<std::string> seen;
  if (archive != nullptr) {
    std::vector<std::string> files;
    archive->ListFiles("", true, files);
    seen.insert(files.begin(), files.end());
  }
  const std::vector<CentralEntry>& entries = directory.entries;
  std::vector<Finding> findings(entries.size());
  TraceWalk(*file, entries, findings);
  size_t problems = 0;
  for (size_t i = 0; i < entries.size(); ++i) {
    Finding& finding = findings[i];
    AddRecordReasons(entries[i], finding);
    Observe(archive, seen, entries[i], finding);
    if (finding.outcome.empty()) continue;
    ++problems;
    std::string reasons;
    for (const std::string& reason : finding.reasons) {
      reasons += (reasons.empty() ? " (" : "; ") + reason;
    }
    std::printf("%s: %s%s%s\n", entries[i].name.c_str(), finding.outcome.c_str(), reasons.c_str(),
                reasons.empty() ? "" : ")");
  }
  std::printf("%s: %llu members, %llu cannot be seen or read whole\n", name,
              static_cast<unsigned long long>(entries.size()),
              static_cast<unsigned long long>(problems));
  return problems == 0 ? 0 : 1;
}

}  // namespace tool
