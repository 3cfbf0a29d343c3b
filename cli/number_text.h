// Numbers on the command line, the same in every locale.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace loftbay::cli {

// The number that the whole text is; none when it is something else or out of the type's range.
template <typename Number>
std::optional<Number> numberIn(std::string_view text) {
  Number value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace loftbay::cli
