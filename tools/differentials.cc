#include "differentials.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <map>
#include <set>
#include <utility>

#include <velm/io/path>

#include "input_reading.h"
#include "zip/zip_format.h"

namespace tool {
namespace {

namespace io = velm::io;
namespace zip = velm::zip;

constexpr uint16_t kUnicodePathTag = 0x7075;

std::string At(uint64_t offset) { return "offset " + std::to_string(offset); }

std::string Hex16(uint16_t value) {
  char text[8];
  std::snprintf(text, sizeof text, "0x%04x", value);
  return text;
}

// The values of the data descriptor behind a streamed record's data, with or
// without its signature; false when neither form holds the central values.
bool DescriptorAgrees(io::Input& file, const CentralEntry& entry, uint64_t data_end) {
  std::string bytes;
  if (!ReadAt(file, data_end, zip::kLongestDataDescriptor, bytes) &&
      !ReadAt(file, data_end, zip::kLongestDataDescriptor - 8, bytes)) {
    return false;
  }
  for (size_t skip : {0, 4}) {
    if (skip == 4 && zip::Get(Bytes(bytes), 4) != zip::kDataDescriptor) break;
    for (int width : {4, 8}) {
      if (skip + 4 + 2 * width > bytes.size()) continue;
      const unsigned char* p = Bytes(bytes, skip);
      if (zip::Get(p, 4) == entry.crc32 && zip::Get(p + 4, width) == entry.compressed_size &&
          zip::Get(p + 4 + width, width) == entry.uncompressed_size) {
        return true;
      }
    }
  }
  return false;
}

void CompareLocal(io::Input& file, const CentralEntry& entry, const LocalHeader& local,
                  const std::string& subject, Findings& findings) {
  if (local.name != entry.name) {
    findings.Refuse(subject, "the local header names it " + Printable(local.name));
  }
  if (local.method != entry.method) {
    findings.Refuse(subject, "method " + std::to_string(entry.method) +
                                 " in the central directory, " + std::to_string(local.method) +
                                 " in the local header");
  }
  if (local.flags != entry.flags) {
    findings.Refuse(subject, "flags " + Hex16(entry.flags) + " in the central directory, " +
                                 Hex16(local.flags) + " in the local header");
  }
  // A streamed record's CRC-32 comes from its descriptor; its header's sizes
  // count only where the compressed one is filled in.
  const bool streamed = (local.flags & zip::kFlagDataDescriptor) != 0;
  if ((!streamed && local.crc32 != entry.crc32) ||
      ((!streamed || local.compressed_size != 0) &&
       (local.compressed_size != entry.compressed_size ||
        local.uncompressed_size != entry.uncompressed_size))) {
    findings.Refuse(subject,
                    "CRC-32 or sizes (Zip64 fields included) differ between the "
                    "central directory and the local header");
  }
  if (streamed && !DescriptorAgrees(file, entry, local.data_offset + entry.compressed_size)) {
    findings.Refuse(subject,
                    "its data descriptor is missing or disagrees with the central "
                    "directory");
  }
}

// An Info-ZIP Unicode path field gives the name that many tools show; of two
// fields with one tag, readers take either.
void CompareExtraFields(const CentralEntry& entry, const LocalHeader* local,
                        const std::string& subject, Findings& findings) {
  for (const std::string* extra : {&entry.extra, local ? &local->extra : nullptr}) {
    if (extra == nullptr) continue;
    std::string body;
    if (FindExtraField(*extra, kUnicodePathTag, body) && body.size() >= 5 &&
        body.compare(5, std::string::npos, entry.name) != 0) {
      findings.Refuse(subject, "its Unicode path field names " + Printable(body.substr(5)));
    }
    for (uint16_t tag : {zip::kZip64ExtraTag, kUnicodePathTag}) {
      if (CountExtraFields(*extra, tag) > 1) {
        findings.Refuse(subject, "two extra fields of tag " + Hex16(tag));
      }
    }
  }
}

void CheckName(const CentralEntry& entry, const std::string& subject, Findings& findings) {
  const std::string::size_type nul = entry.name.find('\0');
  if (nul != std::string::npos) {
    findings.Refuse(subject, "its name holds a NUL byte: the library reads it as " +
                                 Printable(entry.name.substr(0, nul)));
    return;
  }
  std::string path = entry.name, standard;
  if (!path.empty() && path.back() == '/') path.pop_back();
  if (!io::StandardizePathASCII(path, standard)) {
    findings.Warn(subject, "no path reaches it: the library lists it but cannot open it");
  } else if (standard != path) {
    findings.Refuse(subject, "the library opens it by the name " + Printable(standard));
  }
}

// Every end record signature from offset on, where nothing but the central
// directory and one end record should lie.
std::vector<uint64_t> FindEndRecords(io::Input& file, uint64_t offset) {
  std::vector<uint64_t> found;
  if (offset > static_cast<uint64_t>(INT64_MAX) || file.Seek(static_cast<int64_t>(offset), 0) != 0)
    return found;
  std::string window;  // the last 3 bytes of the piece before, then a piece
  uint64_t window_start = offset;
  ReadChunks(file, [&](const char* data, size_t size) {
    window.append(data, size);
    for (size_t i = 0; i + 4 <= window.size(); ++i) {
      if (zip::Get(Bytes(window, i), 4) == zip::kEndRecord) found.push_back(window_start + i);
    }
    const size_t keep = std::min<size_t>(3, window.size());
    window_start += window.size() - keep;
    window.erase(0, window.size() - keep);
    return true;
  });
  return found;
}

using Ranges = std::vector<std::pair<uint64_t, uint64_t>>;  // sorted [start, end)

bool InsideAny(const Ranges& ranges, uint64_t position) {
  auto after = std::upper_bound(ranges.begin(), ranges.end(), std::make_pair(position, UINT64_MAX));
  return after != ranges.begin() && position < std::prev(after)->second;
}

void CheckLayout(io::Input& file, const std::string& archive, const CentralDirectory& directory,
                 const LibraryWalk& walk, uint64_t first_record, const Ranges& member_data,
                 Findings& findings) {
  for (const std::string& fault : directory.faults) findings.Refuse(archive, fault);
  if (directory.surplus > 0) {
    findings.Refuse(archive, "the central directory holds " + std::to_string(directory.surplus) +
                                 " bytes behind the records it counts");
  }
  if (first_record > 0) {
    findings.Refuse(archive,
                    std::to_string(first_record) + " bytes of data before the first record");
  }
  const uint64_t directory_start = directory.offset + directory.stub_size;
  if (directory.stub_size > 0) {
    findings.Refuse(archive, "the end record puts the central directory at " +
                                 At(directory.offset) + ", but it lies at " + At(directory_start));
  }
  if (!walk.records.empty() && directory_start != walk.end) {
    findings.Refuse(archive, "the central directory begins at " + At(directory_start) +
                                 ", but the library's walk stops at " + At(walk.end));
  }
  // Readers find the end record from the back either way; an end record in
  // those bytes is a finding of its own below.
  if (directory.end_of_record != directory.file_size) {
    findings.Warn(archive, "the end record's comment does not end where the file ends");
  }
  // Signatures inside members' data are data.
  const uint64_t from =
      walk.records.empty() ? directory_start : std::min(walk.end, directory_start);
  for (uint64_t position : FindEndRecords(file, from)) {
    if (position == directory.end_record || InsideAny(member_data, position)) continue;
    findings.Refuse(archive, position < directory_start
                                 ? "an end record at " + At(position) +
                                       " before the central directory: archives end to end"
                                 : "a second end record at " + At(position));
  }
}

}  // namespace

void Findings::Refuse(const std::string& subject, const std::string& reason) {
  lines_.push_back(subject + ": " + reason);
  ++refusals_;
}

void Findings::Warn(const std::string& subject, const std::string& reason) {
  lines_.push_back(subject + ": warning: " + reason);
  ++warnings_;
}

std::string Printable(const std::string& name) {
  std::string out;
  for (char c : name) {
    if (static_cast<unsigned char>(c) >= 0x20) {
      out += c;
      continue;
    }
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned char>(c));
    out += escaped;
  }
  return out;
}

void FindDifferentials(io::Input& file, const std::string& archive_name,
                       const CentralDirectory& directory, const LibraryWalk& walk,
                       std::vector<bool>& seen, Findings& findings) {
  const std::vector<CentralEntry>& entries = directory.entries;
  std::vector<LocalHeader> locals(entries.size());
  std::vector<bool> has_local(entries.size());
  std::map<uint64_t, size_t> by_offset;
  std::set<std::string> names;
  for (size_t i = 0; i < entries.size(); ++i) {
    const CentralEntry& entry = entries[i];
    const std::string subject = Printable(entry.name);
    CheckName(entry, subject, findings);
    if (!names.insert(entry.name).second) {
      findings.Refuse(subject, "a second central entry of this name");
    }
    auto placed = by_offset.emplace(entry.header_offset, i);
    if (!placed.second) {
      findings.Refuse(subject, "its central entry points to the record of " +
                                   Printable(entries[placed.first->second].name));
    }
    has_local[i] = ReadLocalHeader(file, entry.header_offset, locals[i]);
    if (has_local[i]) {
      CompareLocal(file, entry, locals[i], subject, findings);
    } else {
      findings.Refuse(subject, "no local header at " + At(entry.header_offset) +
                                   ", where the central directory points");
    }
    CompareExtraFields(entry, has_local[i] ? &locals[i] : nullptr, subject, findings);
  }

  // Records in file order: each must begin behind the data of the one before.
  Ranges member_data;
  for (const auto& placed : by_offset) {
    if (has_local[placed.second]) {
      const uint64_t data = locals[placed.second].data_offset;
      member_data.emplace_back(data, data + entries[placed.second].compressed_size);
    }
  }
  std::sort(member_data.begin(), member_data.end());
  for (auto next = by_offset.begin(); next != by_offset.end(); ++next) {
    if (next == by_offset.begin() || !has_local[std::prev(next)->second]) continue;
    const size_t before = std::prev(next)->second;
    if (next->first < locals[before].data_offset + entries[before].compressed_size) {
      findings.Refuse(Printable(entries[next->second].name),
                      "its record lies inside the data of " + Printable(entries[before].name));
    }
  }

  // The walk against the directory: the same records, ending where the
  // directory says they end.
  seen.assign(entries.size(), false);
  std::set<std::string> walked;
  for (const WalkRecord& record : walk.records) {
    const std::string subject = Printable(record.name);
    if (!walked.insert(record.name).second) {
      findings.Refuse(subject, "a second record of this name at " + At(record.start) +
                                   "; the library keeps the first");
    }
    auto match = by_offset.find(record.start);
    if (match == by_offset.end()) {
      findings.Refuse(subject, "the library loads a record at " + At(record.start) +
                                   " that the central directory does not list");
      continue;
    }
    const size_t i = match->second;
    seen[i] = record.name == entries[i].name;
    const uint64_t data_end = locals[i].data_offset + entries[i].compressed_size;
    const uint64_t room =
        (record.flags & zip::kFlagDataDescriptor) ? zip::kLongestDataDescriptor : 0;
    if (has_local[i] && (record.end < data_end || record.end > data_end + room)) {
      findings.Refuse(subject, "the library finds its record ending at " + At(record.end) +
                                   ", the central directory at " + At(data_end));
    }
  }
  if (!walk.followed) findings.Refuse(archive_name, "the library's walk could not be followed");
  for (size_t i = 0; i < entries.size(); ++i) {
    // A second entry of one record has been named already.
    if (seen[i] || by_offset[entries[i].header_offset] != i) continue;
    findings.Refuse(Printable(entries[i].name),
                    entries[i].header_offset >= walk.end
                        ? "not seen: the library's walk stops at " + At(walk.end) + ", before it"
                        : "not seen by the library's walk");
  }
  CheckLayout(file, archive_name, directory, walk, by_offset.empty() ? 0 : by_offset.begin()->first,
              member_data, findings);
}

}  // namespace tool
