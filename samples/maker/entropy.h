// What the arithmetic and Huffman packets of all versions share: the table of frequent values with an
// escape for the others, and the 16-bit arithmetic coder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "samples/maker/byte_writer.h"

namespace loftbay::maker {

struct TableEntry {
  std::int32_t value = 0;
  std::uint32_t occurrences = 0;
  bool escape = false;
};

struct ValueTable {
  std::vector<TableEntry> entries;        // the escape, when there is one, is the last entry
  std::vector<std::uint32_t> entry_of;    // per value: its entry, or the escape
  std::vector<std::int32_t> out_of_band;  // the values that are escaped, in order
  std::int32_t minimum = 0;               // over entries that are not the escape
  std::uint32_t value_span = 0;           // largest entry value - minimum
  std::uint32_t total = 0;                // sum of occurrences
  double estimated_bits = 0;

  [[nodiscard]] bool hasEscape() const { return !entries.empty() && entries.back().escape; }
};

// Nothing when there are so many different values that a table makes no sense. Occurrences are the exact
// frequencies as long as their sum fits the 16-bit coder, else scaled down.
std::optional<ValueTable> makeTable(std::span<const std::int32_t> values, std::size_t max_entries,
                                    std::size_t max_distinct);

inline constexpr std::uint32_t kMaxTotal = 0x3fff;

class ArithmeticEncoder {
 public:
  // A symbol that owns [cumulative, cumulative + occurrences) of `total`.
  void encode(std::uint32_t cumulative, std::uint32_t occurrences, std::uint32_t total);
  // Two bits that lie within the last interval for any bits behind them.
  void end();
  // The decoder holds 16 bits ahead of what it has used; together with the two bits that fix the last
  // interval the text is two bits longer than what it reads.
  void finish();
  [[nodiscard]] const BitWriter& bits() const { return bits_; }
  // How often the interval lay around the middle.
  [[nodiscard]] int straddles() const { return straddles_; }

 private:
  void emit(bool bit);

  BitWriter bits_;
  std::uint32_t low_ = 0;
  std::uint32_t high_ = 0xffff;
  std::uint32_t pending_ = 0;
  int straddles_ = 0;
};

// Bits needed for an unsigned value; 0 for 0.
inline unsigned bitsFor(std::uint32_t value) { return static_cast<unsigned>(std::bit_width(value)); }
// Bits needed for a two's complement value; 0 for 0.
inline unsigned signedBitsFor(std::int32_t value) {
  if (value == 0) return 0;
  return bitsFor(static_cast<std::uint32_t>(value < 0 ? ~value : value)) + 1;
}

}  // namespace loftbay::maker
