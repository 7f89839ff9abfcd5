#include "member_facts.h"

#include <memory>

#include "zip/zip_format.h"

namespace tool {

MemberTable::MemberTable(ArchiveChain& chain) {
  std::unique_ptr<velm::io::Input> file(chain.container().OpenInput(chain.path()));
  if (!file) return;
  CentralDirectory directory;
  std::string error;
  std::map<uint64_t, const CentralEntry*> listed;
  if (ReadCentralDirectory(*file, directory, error)) {
    for (const CentralEntry& entry : directory.entries) listed.emplace(entry.header_offset, &entry);
  }
  for (const WalkRecord& record : chain.walk().records) {
    // The library keeps the first record of a name.
    if (members_.count(record.name) != 0) continue;
    MemberFacts facts;
    auto entry = listed.find(record.start);
    if (entry != listed.end()) {
      static_cast<RecordFields&>(facts) = *entry->second;
    } else {
      LocalHeader local;
      if (!ReadLocalHeader(*file, record.start, local)) continue;
      static_cast<RecordFields&>(facts) = local;
      facts.crc_known = (local.flags & velm::zip::kFlagDataDescriptor) == 0;
    }
    // Writers that could not fill in the CRC-32 leave 0.
    if (facts.crc32 == 0 && facts.uncompressed_size != 0) facts.crc_known = false;
    members_.emplace(record.name, std::move(facts));
  }
}

const MemberFacts* MemberTable::Find(const std::string& name) const {
  auto found = members_.find(name);
  return found == members_.end() ? nullptr : &found->second;
}

}  // namespace tool
