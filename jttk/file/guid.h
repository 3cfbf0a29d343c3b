// The 128-bit ids of segments, elements and kinds of elements.
#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace jttk {

struct Guid {
  std::uint32_t a = 0;
  std::uint16_t b = 0;
  std::uint16_t c = 0;
  std::uint8_t d[8] = {};
  friend bool operator==(const Guid&, const Guid&) = default;
  friend auto operator<=>(const Guid&, const Guid&) = default;  // NOLINT(modernize-use-nullptr)
  // 8-4-4-4-12 hex digits, lower case.
  [[nodiscard]] std::string text() const;
};

}  // namespace jttk
