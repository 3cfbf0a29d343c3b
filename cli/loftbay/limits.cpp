#include "cli/loftbay/limits.h"

#include <charconv>
#include <limits>
#include <string_view>

#include "jttk/settings.h"

namespace loftbay::cli {

namespace {

constexpr std::uint64_t kThousand = 1000;
constexpr std::uint64_t kKilobyte = 1024;

// A whole number, with K, M or G behind it for the first three powers of `step`. None when it is something
// else, 0 or too large.
std::optional<std::uint64_t> sizeOf(std::string_view text, std::uint64_t step) {
  std::uint64_t factor = 1;
  const std::size_t power = text.empty() ? std::string_view::npos : std::string_view("KMG").find(text.back());
  if (power != std::string_view::npos) {
    for (std::size_t i = 0; i <= power; ++i) factor *= step;
    text.remove_suffix(1);
  }
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size() || value == 0) return std::nullopt;
  if (value > std::numeric_limits<std::uint64_t>::max() / factor) return std::nullopt;
  return value * factor;
}

}  // namespace

void addLimits(CLI::App& app, LimitTexts& texts) {
  app.add_option(
      "--max-places", texts.places,
      "most nodes that a model places, and most shapes; long names and large shapes count for more "
      "(default: 50 K and 4 for each byte of its files; K, M, G: thousands and so on)");
  app.add_option(
      "--max-unpacked", texts.unpacked,
      "most bytes that its packed data unpack to (default: 16 M and 256 for each byte of its files; K, "
      "M, G: 1024 and so on)");
  app.add_option(
      "--max-memory", texts.memory,
      "most bytes that decoders may ask for at one time, for each file that is converted (default: 48 M "
      "and 2 K for each byte of its files, 8 G at the most)");
}

std::string readLimits(const CLI::App& app, const LimitTexts& texts, Limits& limits) {
  const auto read = [&](const char* name, const std::string& text, std::uint64_t step,
                        std::optional<std::uint64_t>& limit) -> std::string {
    if (app.count(name) == 0) return {};
    limit = sizeOf(text, step);
    if (limit) return {};
    return std::string(name) + ": '" + text + "' is not a number from 1, or one with K, M or G behind it";
  };
  if (auto reason = read("--max-places", texts.places, kThousand, limits.places); !reason.empty()) {
    return reason;
  }
  if (auto reason = read("--max-unpacked", texts.unpacked, kKilobyte, limits.unpacked_bytes);
      !reason.empty()) {
    return reason;
  }
  return read("--max-memory", texts.memory, kKilobyte, limits.memory_bytes);
}

void setLimits(const Limits& limits) {
  jttk::settings().max_placed_nodes = limits.places;
  jttk::settings().max_unpacked_bytes = limits.unpacked_bytes;
  jttk::settings().max_memory_bytes = limits.memory_bytes;
}

}  // namespace loftbay::cli
