#include "mmap/mapped_file_cache.h"

namespace velm::io {

void MMapDeleter::operator()(char*) const {}

MappedFileEntry* AcquireMappedFile(const platform::WideString&,
                                   std::shared_ptr<char>&) {
  return nullptr;
}

}  // namespace velm::io
