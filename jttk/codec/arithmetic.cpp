// The classic coder with 16-bit registers: every value narrows [low, high] to the share that its entry has of
// the total; bits that low and high have in common leave at the top.
#include "jttk/codec/arithmetic.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <string>

namespace jttk {
namespace {

// Finds the entry of a scaled code. The scale is cut into at most 1024 buckets, each with the first and last
// entry that reach into it, so the search within is over few entries.
class EntryFinder {
 public:
  explicit EntryFinder(const ProbabilityTable& table) : entries_(table.entries.data()) {
    while ((table.total - 1) >> shift_ >= kBuckets) ++shift_;
    std::uint32_t entry = 0;
    const std::uint32_t used = ((table.total - 1) >> shift_) + 1;
    for (std::uint32_t bucket = 0; bucket < used; ++bucket) {
      const std::uint32_t start = bucket << shift_;
      while (start - entries_[entry].cumulative >= entries_[entry].occurrences) ++entry;
      first_[bucket] = entry;
    }
    // The last entry that can be chosen, for the end of the last bucket.
    auto last = static_cast<std::uint32_t>(table.entries.size() - 1);
    while (entries_[last].occurrences == 0) --last;
    first_[used] = last;
  }

  // `scaled` is less than the table's total.
  [[nodiscard]] const ProbabilityEntry& find(std::uint32_t scaled) const noexcept {
    const std::uint32_t bucket = scaled >> shift_;
    std::uint32_t low = first_[bucket];
    std::uint32_t high = first_[bucket + 1];
    // Many entries in one bucket: the last one that begins at or before `scaled` is found by halving. Entries
    // without occurrences share their beginning with the next one, so it is never one of them.
    while (high - low > kFewEntries) {
      const std::uint32_t middle = low + (high - low + 1) / 2;
      if (entries_[middle].cumulative <= scaled) {
        low = middle;
      } else {
        high = middle - 1;
      }
    }
    const ProbabilityEntry* entry = entries_ + low;
    while (scaled - entry->cumulative >= entry->occurrences) ++entry;
    return *entry;
  }

 private:
  static constexpr std::uint32_t kBuckets = 1024;
  static constexpr std::uint32_t kFewEntries = 8;
  const ProbabilityEntry* entries_;
  std::uint32_t shift_ = 0;
  std::array<std::uint32_t, kBuckets + 1> first_{};
};

// x / total by multiplication, for total <= 2^15 and x <= 2^31: with m = floor(2^47 / total) + 1 the error
// m * total - 2^47 is at most 2^15, so x * m / 2^47 has the right integer part; and x / total <= 2^16 keeps
// the product below 2^64.
class SmallDivider {
 public:
  static constexpr std::uint32_t kLargestTotal = 1U << 15;
  explicit SmallDivider(std::uint32_t total) noexcept : factor_((std::uint64_t{1} << 47) / total + 1) {}
  [[nodiscard]] std::uint32_t share(std::uint32_t range, std::uint32_t part) const noexcept {
    const std::uint32_t product = range * part;  // fits: see above
    return static_cast<std::uint32_t>((product * factor_) >> 47);
  }
  [[nodiscard]] static std::uint32_t scaled(std::uint32_t place, std::uint32_t total,
                                            std::uint32_t range) noexcept {
    return (place * total - 1) / range;
  }

 private:
  std::uint64_t factor_;
};

class WideDivider {
 public:
  explicit WideDivider(std::uint32_t total) noexcept : total_(total) {}
  [[nodiscard]] std::uint32_t share(std::uint32_t range, std::uint32_t part) const noexcept {
    return static_cast<std::uint32_t>(std::uint64_t{range} * part / total_);
  }
  [[nodiscard]] static std::uint32_t scaled(std::uint32_t place, std::uint32_t total,
                                            std::uint32_t range) noexcept {
    return static_cast<std::uint32_t>((std::uint64_t{place} * total - 1) / range);
  }

 private:
  std::uint64_t total_;
};

// low <= code <= high holds throughout, whatever the bits are: the entry is chosen so that its share of the
// interval contains the code, and shifting keeps the order. So no share is ever empty.
template <typename Divider>
bool decodeValues(BitReader& text, const ProbabilityTable& table, std::span<const std::int32_t>& out_of_band,
                  std::span<std::int32_t> values) {
  // A copy, which the compiler can keep in registers while values are written.
  BitReader bits = text;
  const EntryFinder finder(table);
  const Divider divider(table.total);
  std::size_t used = 0;
  std::uint32_t low = 0;
  std::uint32_t high = 0xffff;
  std::uint32_t code = bits.bits(16);
  for (std::int32_t& value : values) {
    const std::uint32_t range = high - low + 1;
    const ProbabilityEntry& entry = finder.find(Divider::scaled(code - low + 1, table.total, range));
    high = low + divider.share(range, entry.cumulative + entry.occurrences) - 1;
    low = low + divider.share(range, entry.cumulative);
    // Bits in common leave at the top. Then low begins with 0 and high with 1; where low goes on with ones
    // and high with zeros, these second bits are taken out too, so that the interval does not get too narrow
    // around the middle. Together these are 16 bits at most.
    const auto common = static_cast<std::uint32_t>(std::countl_zero(static_cast<std::uint16_t>(low ^ high)));
    low <<= common;
    high = (high << common) | ((1U << common) - 1);
    const auto squeezed =
        static_cast<std::uint32_t>(std::countl_one(static_cast<std::uint16_t>((low & ~high) << 1))) & 15U;
    low = (low << squeezed) & (squeezed != 0 ? 0x7fffU : 0xffffU);
    high = ((high << squeezed) | ((1U << squeezed) - 1) | (squeezed != 0 ? 0x8000U : 0U)) & 0xffffU;
    const std::uint32_t leaving = common + squeezed;
    code = ((code << leaving) | bits.bits(leaving)) & 0xffffU;
    if (squeezed != 0) code ^= 0x8000U;
    if (entry.is_escape) {
      if (used == out_of_band.size()) return false;
      value = out_of_band[used++];
    } else {
      value = entry.value;
    }
  }
  text = bits;
  out_of_band = out_of_band.subspan(used);
  return true;
}

}  // namespace

Result<ProbabilityTable> readProbabilityTable(ByteReader& reader, PacketForm form) {
  const std::uint64_t start = reader.offset();
  ByteReader rest = reader;
  const std::size_t available = reader.remaining();
  BitReader bits(rest.take(available, "probability table"), ByteOrder::Big, std::uint64_t{available} * 8);
  const bool has_symbols = form == PacketForm::Jt9;
  const std::uint32_t count = bits.bits(16);
  const std::uint32_t symbol_width = has_symbols ? bits.bits(6) : 1;
  const std::uint32_t occurrence_width = bits.bits(6);
  const std::uint32_t value_width = bits.bits(has_symbols ? 6 : 7);
  const std::uint32_t minimum = bits.bits(32);
  if (symbol_width > 32 || occurrence_width > 32 || value_width > 32) {
    return fail("a probability table has fields wider than 32 bits", start);
  }
  const std::uint64_t entry_width = std::uint64_t{symbol_width} + occurrence_width + value_width;
  if (bits.consumed() + count * entry_width > bits.length()) {
    return fail("a probability table of " + std::to_string(count) + " entries ends too early", start);
  }
  ProbabilityTable table;
  table.entries.reserve(count);
  std::uint64_t total = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    ProbabilityEntry entry;
    const std::uint32_t symbol = bits.bits(symbol_width);
    // JT 9 stores symbols plus 2, and -2 is the escape; JT 10 has a bit for it.
    entry.is_escape = has_symbols ? symbol == 0 : symbol == 1;
    entry.occurrences = bits.bits(occurrence_width);
    entry.value = static_cast<std::int32_t>(bits.bits(value_width) + minimum);
    entry.cumulative = static_cast<std::uint32_t>(total);
    total += entry.occurrences;
    if (total > std::numeric_limits<std::uint32_t>::max()) {
      return fail("the occurrences of a probability table are too many", start);
    }
    table.has_escape = table.has_escape || entry.is_escape;
    table.entries.push_back(entry);
  }
  table.total = static_cast<std::uint32_t>(total);
  reader.skip(static_cast<std::size_t>((bits.consumed() + 7) / 8), "probability table");
  if (!reader.ok()) return reader.unexpected();
  return table;
}

Result<void> decodeArithmetic(const CodeText& text, const ProbabilityTable& table,
                              std::span<const std::int32_t> out_of_band, std::span<std::int32_t> values) {
  if (table.total == 0) return fail("arithmetic packet: its probability table is empty", text.offset);
  BitReader bits = text.bits();
  const bool done = table.total <= SmallDivider::kLargestTotal
                        ? decodeValues<SmallDivider>(bits, table, out_of_band, values)
                        : decodeValues<WideDivider>(bits, table, out_of_band, values);
  if (bits.overread()) return fail("arithmetic packet: the code text is too short", text.offset);
  if (!done) return fail("arithmetic packet: there are too few out-of-band values", text.offset);
  if (!out_of_band.empty()) return fail("arithmetic packet: out-of-band values are left over", text.offset);
  return {};
}

}  // namespace jttk
