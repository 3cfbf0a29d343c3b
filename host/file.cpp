// What of file.h is the same on every host: who owns a mapping.
#include "host/file.h"

#include <utility>

namespace loftbay::host {

MappedFile::MappedFile(MappedFile&& other) noexcept : bytes_(std::exchange(other.bytes_, {})) {}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
  if (this != &other) {
    unmap();
    bytes_ = std::exchange(other.bytes_, {});
  }
  return *this;
}

MappedFile::~MappedFile() { unmap(); }

}  // namespace loftbay::host
