#include <memory>

#include <velm/io/opener>
#include <velm/log/log>

#include "zip/opener_zip.h"

namespace velm::io {

Opener* LoadZip(const std::string& path) { return LoadZip(path, GetOpener(OpenerTypeCFile)); }

Opener* LoadZip(const std::string& path, Opener* opener) {
  std::string standard;
  if (!opener->StandardizePath(path, standard)) {
    velm::log::LogError(LogChannel, "LoadZip: Invalid zip path format: %s", path.c_str());
    return nullptr;
  }
  std::unique_ptr<Input> archive(opener->OpenInput(standard));
  if (!archive) {
    velm::log::LogError(LogChannel, "LoadZip: Open falied for %s", standard.c_str());
    return nullptr;
  }
  // A file without a single local header fails without a message.
  OpenerZip* zip = OpenerZip::Create(archive.get());
  if (!zip) return nullptr;
  archive.release();
  return zip;
}

void UnloadZip(Opener* opener) { delete opener; }

}  // namespace velm::io
