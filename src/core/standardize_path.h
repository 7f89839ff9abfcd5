#ifndef VELMIO_CORE_STANDARDIZE_PATH_H_
#define VELMIO_CORE_STANDARDIZE_PATH_H_

#include <string>
#include <vector>

namespace velm::io {

// The components of the canonical form of in; false if in is not a valid
// logical path, and then tokens holds nothing of meaning.
bool TokenizePathASCII(const std::string& in, std::vector<std::string>& tokens);

}  // namespace velm::io

#endif  // VELMIO_CORE_STANDARDIZE_PATH_H_
