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
    if (total_ != 0) reciprocal_ = (std::uint64_t{1} << 48) / total_ + 1;
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
  // range * part / total, for a range of at most 2^16 and a part of at most the total. The reciprocal r is
  // too large by e / total with e = r * total - 2^48 <= total < 2^16; range * part < 2^32 times e is less
  // than 2^48, so the integer part is right. And for a part below the total range * part <= 2^16 * (total -
  // 1) keeps the product below 2^64.
  [[nodiscard]] std::uint32_t share(std::uint32_t range, std::uint32_t part) const noexcept {
    const std::uint32_t scaled = range * part;
    return part == total_ ? range : static_cast<std::uint32_t>((scaled * reciprocal_) >> 48);
  }

  std::uint32_t total_ = 0;
  std::uint64_t reciprocal_ = 0;         // of the total, times 2^48
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
    high_ = low_ + table.share(range, part.end) - 1;
    low_ = low_ + table.share(range, part.begin);
    shiftOutSettledBits();
    return entry;
  }

 private:
  // All leading bits in which low and high agree leave. Then low begins with 0 and high with 1, and all
  // places behind that where low has 1 and high has 0 leave too, with the first bit of the code turned over
  // (the range straddles the middle). Without branches: how many bits leave is as good as random.
  void shiftOutSettledBits() noexcept {
    const auto settled = static_cast<unsigned>(std::countl_zero(static_cast<std::uint16_t>(low_ ^ high_)));
    // The shift brings zeros into low and ones into high, so nothing new straddles.
    const std::uint32_t apart = (low_ & ~high_) << settled;
    const auto straddling = static_cast<unsigned>(std::countl_one(static_cast<std::uint16_t>(apart << 1)));
    const unsigned count = (settled + straddling) & 31U;  // 16 at most: both lie in the registers' 16 bits
    low_ = (low_ << count) & 0x7fffU;
    high_ = (((high_ << count) | ((1U << count) - 1)) & 0xffffU) | 0x8000U;
    const std::uint32_t turned = static_cast<std::uint32_t>(straddling != 0) << 15;
    code_ = (((code_ << count) | bits_->bits(count)) & 0xffffU) ^ turned;
  }

  BitReader* bits_;
  std::uint32_t low_ = 0;
  std::uint32_t high_ = 0xffff;
  std::uint32_t code_;
};

}  // namespace jttk
