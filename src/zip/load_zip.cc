#include <velm/io/opener>

namespace velm::io {

Opener* LoadZip(const std::string& path) {
  return LoadZip(path, GetOpener(OpenerTypeCFile));
}

Opener* LoadZip(const std::string&, Opener*) { return nullptr; }

void UnloadZip(Opener* opener) { delete opener; }

}  // namespace velm::io
