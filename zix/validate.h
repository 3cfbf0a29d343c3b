// Checks every byte of a Zix file, and what the arrays hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zix/reader.h"

namespace Orb::Zix {

struct ValidationMessage {
  bool is_error;
  std::string code;      // stable, upper case
  std::uint64_t offset;  // in the file
  std::string message;
};

struct ValidationReport {
  std::vector<ValidationMessage> messages;  // the first `kMostMessages`
  std::uint64_t error_count = 0;
  std::uint64_t warning_count = 0;

  static constexpr std::size_t kMostMessages = 100;
  [[nodiscard]] bool truncated() const { return error_count + warning_count > messages.size(); }
  void add(bool is_error, std::string_view code, std::uint64_t offset, std::string message);
};

// A file that cannot be opened or whose structure is damaged gives one error; otherwise the checksums of all
// chunks, the padding between them and the contents of all arrays are checked. A file that cannot be read to
// its end gives the error CANNOT_READ, and nothing behind that offset is checked.
ValidationReport validateFile(std::string_view program_path);
ValidationReport validateBytes(std::span<const std::byte> bytes);

}  // namespace Orb::Zix
