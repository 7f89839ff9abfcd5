// What the library does not tell of a member: its method, compressed size
// and CRC-32. Taken from the record that the library's walk indexed: as the
// central directory lists it where it does, else as its local header says.
#ifndef VELMIO_TOOLS_MEMBER_FACTS_H_
#define VELMIO_TOOLS_MEMBER_FACTS_H_

#include <map>
#include <string>

#include "archive_chain.h"
#include "central_directory.h"

namespace tool {

struct MemberFacts : RecordFields {
  bool crc_known = true;  // false for a streamed record that no directory lists
};

class MemberTable {
 public:
  // After chain.Load(): the facts of every member the library indexed.
  explicit MemberTable(ArchiveChain& chain);

  // Null for a name the library did not index from a record of its own.
  const MemberFacts* Find(const std::string& name) const;

 private:
  std::map<std::string, MemberFacts> members_;
};

}  // namespace tool

#endif  // VELMIO_TOOLS_MEMBER_FACTS_H_
