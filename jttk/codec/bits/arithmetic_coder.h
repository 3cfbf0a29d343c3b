// The arithmetic decoder that all versions share: the classic scheme with 16-bit registers. Every symbol
// narrows [low, high] to the share that its entry has of the table's total; bits that low and high have in
// common leave at the top. Several tables can take turns on one code text; the registers are common to all.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "jttk/codec/bits/bit_reader.h"

namespace jttk {

// With totals up to this all products fit into 32 bits.
inline constexpr std::uint64_t kMaximumQuickTotal = 0xffff;

// One table made ready for decoding: which part of the total belongs to which entry.
class ArithmeticTable {
 public:
  ArithmeticTable() = default;  // a table without symbols
  // `count_of(entry)` is how often an entry occurs. The counts must not sum up to more than
  // kMaximumQuickTotal, and there must be no more than 65536 entries.
  template <typename Entries, typename CountOf>
  ArithmeticTable(const Entries& entries, std::uint64_t total, CountOf count_of)
      : total_(static_cast<std::uint32_t>(total)) {
    if (total_ != 0) reciprocal_ = (std::uint64_t{1} << 48) / total_ + 1;
    parts_.reserve(entries.size());
    entry_at_.reserve(total_);
    std::uint32_t begin = 0;
    for (const auto& entry : entries) {
      const std::uint32_t count = count_of(entry);
      entry_at_.insert(entry_at_.end(), count, static_cast<std::uint16_t>(parts_.size()));
      parts_.push_back({begin, begin + count});
      begin += count;
    }
  }

  [[nodiscard]] bool empty() const noexcept { return total_ == 0; }

 private:
  friend class ArithmeticDecoder;

  struct Part {
    std::uint32_t begin;
    std::uint32_t end;
  };
  // range * part / total, for a range of at most 2^16 and a part below the total. The reciprocal r is too
  // large by e / total with e = r * total - 2^48 <= total < 2^16; range * part < 2^32 times e is less than
  // 2^48, so the integer part is right. And range * part <= 2^16 * (total - 1) keeps the product below 2^64.
  [[nodiscard]] std::uint32_t shareBefore(std::uint32_t range, std::uint32_t part) const noexcept {
    const std::uint32_t scaled = range * part;
    return static_cast<std::uint32_t>((scaled * reciprocal_) >> 48);
  }
  // The same for a part of at most the total.
  [[nodiscard]] std::uint32_t share(std::uint32_t range, std::uint32_t part) const noexcept {
    return part == total_ ? range : shareBefore(range, part);
  }

  std::uint32_t total_ = 0;
  std::uint64_t reciprocal_ = 0;         // of the total, times 2^48
  std::vector<Part> parts_;              // per entry
  std::vector<std::uint16_t> entry_at_;  // per position in 0 .. total - 1
};

// The interval is held as its lower end and its width (the range), the code as its distance from the lower
// end. distance < range holds throughout, whatever the bits are: the entry is chosen so that its share of the
// interval contains the code, and shifting keeps the order. So the range is never 0.
class ArithmeticDecoder {
 public:
  // Works on a copy of the reader, which the compiler can keep in registers. Bits past the end of the text
  // count as zeros.
  explicit ArithmeticDecoder(const BitReader& text) noexcept : bits_(text), distance_(bits_.bits(16)) {}

  [[nodiscard]] const BitReader& bits() const noexcept { return bits_; }

  // The next symbol as an index into the table's entries. Not for an empty table.
  std::uint32_t decode(const ArithmeticTable& table) noexcept {
    const std::uint32_t slot = ((distance_ + 1) * table.total_ - 1) / range_;
    const std::uint32_t entry = table.entry_at_[slot];
    const ArithmeticTable::Part part = table.parts_[entry];
    narrow(table.shareBefore(range_, part.begin), table.share(range_, part.end));
    return entry;
  }

  // For totals that a table does not take: where the code lies in 0 .. total - 1, and the part that is there.
  [[nodiscard]] std::uint64_t position(std::uint64_t total) const noexcept {
    return (std::uint64_t{distance_ + 1} * total - 1) / range_;
  }
  void take(std::uint64_t begin, std::uint64_t end, std::uint64_t total) noexcept {
    const std::uint64_t range = range_;
    narrow(static_cast<std::uint32_t>(range * begin / total),
           static_cast<std::uint32_t>(range * end / total));
  }

 private:
  // All leading bits in which low and high agree are shifted out. Then low begins with 0 and high with 1, and
  // all following bits in which low has 1 and high has 0 are shifted out too, with the first bit inverted
  // (the range straddles the middle), which changes neither range nor distance. Without branches: how many
  // bits are shifted out is as good as random. The bits are looked at in the upper half of 32; one that is
  // set below them ends the search.
  void narrow(std::uint32_t begin_share, std::uint32_t end_share) noexcept {
    constexpr unsigned kBits = 16;
    const std::uint32_t low = low_ + begin_share;
    const std::uint32_t high = low_ + end_share - 1;
    const std::uint32_t differ = ((low ^ high) << kBits) | (1U << (kBits - 1));
    const auto settled = static_cast<unsigned>(std::countl_zero(differ));
    // No more than the 17 bits up to the one that differs are shifted away.
    const std::uint32_t straddle = ((low & ~high) << kBits << settled) << 1;
    const auto straddling = static_cast<unsigned>(std::countl_zero(~straddle | 1U));
    const unsigned count = (settled + straddling) & 31U;  // 16 at most: both lie in the registers' 16 bits
    low_ = (low << count) & 0x7fffU;
    range_ = (end_share - begin_share) << count;
    distance_ = ((distance_ - begin_share) << count) | bits_.bits(count);
  }

  BitReader bits_;
  std::uint32_t low_ = 0;
  std::uint32_t range_ = 0x10000;
  std::uint32_t distance_;
};

}  // namespace jttk
