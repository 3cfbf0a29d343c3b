// "Did you mean …?" for mistyped options and commands.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace loftbay::cli {

// The candidate with the fewest insertions, deletions and replacements, if these are few enough for the
// texts to look alike.
std::optional<std::string> closestMatch(std::string_view text, std::span<const std::string> candidates);

}  // namespace loftbay::cli
