// The part of file.h that is the same on every host: ownership of handles and mappings, and reads that come
// in pieces.
#include "host/file.h"

#include <utility>

namespace loftbay::host {

ReadOnlyFile::ReadOnlyFile(ReadOnlyFile&& other) noexcept
    : handle_(std::exchange(other.handle_, kNoHandle)), size_(std::exchange(other.size_, 0)) {}

ReadOnlyFile& ReadOnlyFile::operator=(ReadOnlyFile&& other) noexcept {
  if (this != &other) {
    close();
    handle_ = std::exchange(other.handle_, kNoHandle);
    size_ = std::exchange(other.size_, 0);
  }
  return *this;
}

ReadOnlyFile::~ReadOnlyFile() { close(); }

bool ReadOnlyFile::readAt(std::uint64_t offset, std::span<std::byte> buffer, std::string* reason) const {
  while (!buffer.empty()) {
    const auto amount = readSome(offset, buffer, reason);
    if (!amount) return false;
    if (*amount == 0) {
      *reason = "the file ends at or before byte " + std::to_string(offset);
      if (offset < size_) *reason += "; it had " + std::to_string(size_) + " bytes when it was opened";
      return false;
    }
    offset += *amount;
    buffer = buffer.subspan(*amount);
  }
  return true;
}

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
