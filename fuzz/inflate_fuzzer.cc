// The whole-buffer inflater goes first; whatever it does, a member must end
// as zlib alone ends it: the same result, the same bytes. An input is the
// content of a member, deflated at some level and strategy and then damaged
// the way a record goes wrong, or taken raw as a deflate stream.

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "check.h"
#include "zip/inflate_member.h"
#include "zip_writer.h"

using velm::io::HaveWholeBufferInflater;
using velm::io::InflatedMember;
using velm::io::InflateMember;
using velm::io::InflateResult;
using velm::io::InflateWholeBuffer;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4) return 0;
  const int strategies[] = {Z_DEFAULT_STRATEGY, Z_FIXED, Z_HUFFMAN_ONLY, Z_RLE, Z_FILTERED};
  const int level = data[0] % 10, strategy = strategies[data[1] % 5], damage = data[2] % 8;
  const uint64_t arg = data[3];
  const std::string content(reinterpret_cast<const char*>(data + 4), size - 4);
  std::string stream = damage == 0 ? content : velm::zip::Deflate(content, level, strategy);
  uint64_t declared = content.size();
  switch (damage) {  // 1 and 2: exact
    case 0:
      declared = arg * 97;
      break;
    case 3:
      declared = declared * arg / 256;
      break;
    case 4:
      declared += 1 + arg * 20;
      break;
    case 5:
      stream.resize(stream.size() * arg / 256);
      break;
    case 6:
      if (!stream.empty()) stream[arg * 31 % stream.size()] ^= 1 << (arg % 8);
      break;
    case 7:
      stream += std::string(1 + arg % 40, static_cast<char>(arg));
      break;
  }
  const auto* bytes = reinterpret_cast<const unsigned char*>(stream.data());
  const InflatedMember fast = InflateMember(bytes, stream.size(), declared, true);
  const InflatedMember zlib = InflateMember(bytes, stream.size(), declared, false);
  // libdeflate decodes a few codes that deflate leaves undefined and zlib
  // refuses; a stream made to use them opens whole where zlib gives a data
  // error. That is the one difference allowed.
  if (fast.result != zlib.result && fast.result == InflateResult::kDone &&
      zlib.result == InflateResult::kDataError && fast.held == declared) {
    return 0;
  }
  FUZZ_CHECK(fast.result == zlib.result);
  FUZZ_CHECK(fast.held == zlib.held);
  if (fast.result == InflateResult::kDone) {
    FUZZ_CHECK(std::memcmp(fast.bytes.get(), zlib.bytes.get(), fast.held) == 0);
  }
  // A clean stream of the declared size must be the fast inflater's: one that
  // gave up on it (a bad cross build, say) would change no outcome above,
  // only the speed.
  if ((damage == 1 || damage == 2) && HaveWholeBufferInflater()) {
    std::string out(declared, '\0');
    FUZZ_CHECK(InflateWholeBuffer(bytes, stream.size(), reinterpret_cast<unsigned char*>(&out[0]),
                                  declared));
  }
  return 0;
}
