// Arithmetic codes of JT 8.x packets: the classic scheme with 16-bit registers. Several tables can take
// turns on one code text; the registers are common to all of them.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "jttk/codec/bit_reader.h"
#include "jttk/codec/probability_contexts_mk1.h"

namespace jttk {

// The registers are compared with sums of counts times a range of up to 2^16, and the product has to fit
// into 32 bits.
inline constexpr std::uint64_t kMaximumArithmeticTotal = 0xffff;

// One table made ready for decoding: which part of the counts' sum belongs to which entry.
class ArithmeticTableMk1 {
 public:
  ArithmeticTableMk1() = default;  // a table without symbols
  // `table.total` must not exceed kMaximumArithmeticTotal.
  explicit ArithmeticTableMk1(const ProbabilityTableMk1& table)
      : total_(static_cast<std::uint32_t>(table.total)) {
    parts_.reserve(table.entries.size());
    entry_at_.reserve(total_);
    std::uint32_t begin = 0;
    for (const ProbabilityEntryMk1& entry : table.entries) {
      entry_at_.insert(entry_at_.end(), entry.count, static_cast<std::uint16_t>(parts_.size()));
      parts_.push_back({begin, begin + entry.count});
      begin += entry.count;
    }
  }

  [[nodiscard]] bool empty() const noexcept { return total_ == 0; }

 private:
  friend class ArithmeticDecoderMk1;

  struct Part {
    std::uint32_t begin;
    std::uint32_t end;
  };
  std::uint32_t total_ = 0;
  std::vector<Part> parts_;              // per entry
  std::vector<std::uint16_t> entry_at_;  // per place in 0 .. total - 1
};

class ArithmeticDecoderMk1 {
 public:
  // `bits` must outlive the decoder. Bits past the end of the text count as zeros.
  explicit ArithmeticDecoderMk1(BitReader& bits) : bits_(&bits), code_(bits.peek(16)) { bits.skip(16); }

  // The next symbol as an index into the table's entries. Not for an empty table.
  //
  // For any input low <= code <= high holds before and after, because the code lies in the part that it
  // selects; so the range is never 0 and `place` is always below the total.
  std::uint32_t decode(const ArithmeticTableMk1& table) noexcept {
    const std::uint32_t range = high_ - low_ + 1;
    const std::uint32_t place = ((code_ - low_ + 1) * table.total_ - 1) / range;
    const std::uint32_t entry = table.entry_at_[place];
    const ArithmeticTableMk1::Part part = table.parts_[entry];
    high_ = low_ + range * part.end / table.total_ - 1;
    low_ = low_ + range * part.begin / table.total_;
    shiftOutSettledBits();
    return entry;
  }

 private:
  // All leading bits in which low and high agree leave at once; then all places behind the first bit where
  // low has 1 and high has 0, with the place's bit turned over (the range straddles the middle).
  void shiftOutSettledBits() noexcept {
    const auto equal = static_cast<unsigned>(std::countl_zero(static_cast<std::uint16_t>(low_ ^ high_)));
    if (equal != 0) shift(equal);
    const auto straddling =
        static_cast<unsigned>(std::countl_one(static_cast<std::uint16_t>((low_ & ~high_) << 1)));
    if (straddling != 0) {
      shift(straddling);
      low_ &= 0x7fffU;
      high_ |= 0x8000U;
      code_ ^= 0x8000U;
    }
  }

  void shift(unsigned count) noexcept {
    low_ = (low_ << count) & 0xffffU;
    high_ = ((high_ << count) | ((1U << count) - 1)) & 0xffffU;
    code_ = ((code_ << count) | bits_->peek(count)) & 0xffffU;
    bits_->skip(count);
  }

  BitReader* bits_;
  std::uint32_t low_ = 0;
  std::uint32_t high_ = 0xffff;
  std::uint32_t code_;
};

}  // namespace jttk
