#include "cli/closest_match.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace loftbay::cli {

namespace {

// Levenshtein's distance, one row of the table at a time.
std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j + 1] + 1, row[j] + 1, replaced});
    }
  }
  return row.back();
}

}  // namespace

std::optional<std::string> closestMatch(std::string_view text, std::span<const std::string> candidates) {
  // No candidate is as long as this, so none can be near; and the work stays small whatever was typed.
  constexpr std::size_t kLongest = 64;
  if (text.size() > kLongest) return std::nullopt;
  std::optional<std::string> best;
  std::size_t best_distance = 0;
  for (const std::string& candidate : candidates) {
    const std::size_t distance = editDistance(text, candidate);
    if (best && distance >= best_distance) continue;
    if (2 * distance > std::max(text.size(), candidate.size())) continue;
    best = candidate;
    best_distance = distance;
  }
  return best;
}

}  // namespace loftbay::cli
