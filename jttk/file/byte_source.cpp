#include "jttk/file/byte_source.h"

#include <new>
#include <string>

namespace jttk {

Result<ByteSource> ByteSource::open(std::string_view program_path) {
  std::string reason;
  ByteSource source;
  source.file_ = loftbay::host::ReadOnlyFile::open(program_path, &reason);
  if (!source.file_) return fail("cannot be opened: " + reason);
  return source;
}

Result<ByteSource::Bytes> ByteSource::read(std::uint64_t offset, std::uint64_t size_bytes) const {
  const auto size = static_cast<std::size_t>(size_bytes);
  if (!file_) return Bytes{bytes_.subspan(static_cast<std::size_t>(offset), size), nullptr};
  Bytes read;
  try {
    read.memory = std::make_unique_for_overwrite<std::byte[]>(size);
  } catch (const std::bad_alloc&) {
    return fail("out of memory", offset);
  }
  std::string reason;
  if (!file_->readAt(offset, {read.memory.get(), size}, &reason)) {
    return fail("cannot be read: " + reason, offset);
  }
  read.bytes = {read.memory.get(), size};
  return read;
}

}  // namespace jttk
