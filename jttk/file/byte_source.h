// Where the bytes of a JT file come from: the file, read at given offsets, or the caller's memory. A file
// that shrinks while it is read is an error of that read, never a signal.
//
// Thread rules: const calls from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "host/file.h"
#include "jttk/file/error.h"

namespace jttk {

class ByteSource {
 public:
  // Bytes in the caller's memory, or read into memory of their own. Moving keeps them where they are.
  struct Bytes {
    std::span<const std::byte> bytes;
    std::unique_ptr<std::byte[]> memory;  // null when they are the caller's
  };

  ByteSource() = default;
  explicit ByteSource(std::span<const std::byte> bytes) noexcept : bytes_(bytes) {}
  static Result<ByteSource> open(std::string_view program_path);

  [[nodiscard]] std::uint64_t size() const noexcept { return file_ ? file_->size() : bytes_.size(); }
  [[nodiscard]] bool holds(std::uint64_t offset, std::uint64_t size_bytes) const noexcept {
    return offset <= size() && size_bytes <= size() - offset;
  }
  // The range must lie in the source: check with `holds`.
  [[nodiscard]] Result<Bytes> read(std::uint64_t offset, std::uint64_t size_bytes) const;

 private:
  std::optional<loftbay::host::ReadOnlyFile> file_;  // or else:
  std::span<const std::byte> bytes_;
};

}  // namespace jttk
