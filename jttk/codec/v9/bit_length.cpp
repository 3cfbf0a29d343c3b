// Bit 0 chooses between fixed and variable width. The numbers in front are plain fields in JT 9 and chains of
// nibbles in JT 10.
#include "jttk/codec/v9/bit_length.h"

#include <bit>
#include <string>

namespace jttk {
namespace {

constexpr std::uint32_t kMaximumWidth = 32;

// `consumed`: the bits that were read. A number and not the reader: what is passed by reference cannot stay
// in registers.
tl::unexpected<Error> damaged(const char* reason, const CodeText& text, std::uint64_t consumed,
                              CheckPlace check = CheckPlace::current()) {
  return fail(std::string("bit length packet: ") + reason, text.offset + consumed / 8, check);
}

// Groups of four bits, the lowest first, each followed by a bit that says whether one more comes. The number
// is as wide as its groups together and signed.
bool readNibbles(BitReader& bits, std::int32_t& value) {
  std::uint32_t number = 0;
  std::uint32_t width = 0;
  for (;;) {
    if (width == kMaximumWidth || bits.overread()) return false;
    number |= bits.bits(4) << width;
    width += 4;
    if (bits.bits(1) == 0) break;
  }
  const std::uint32_t unused = kMaximumWidth - width;
  value = static_cast<std::int32_t>(number << unused) >> unused;
  return true;
}

bool readBounds(BitReader& bits, PacketForm form, std::int32_t& minimum, std::int32_t& maximum) {
  if (form == PacketForm::V10) return readNibbles(bits, minimum) && readNibbles(bits, maximum);
  const std::uint32_t minimum_width = bits.bits(6);
  const std::uint32_t maximum_width = bits.bits(6);
  if (minimum_width > kMaximumWidth || maximum_width > kMaximumWidth) return false;
  minimum = bits.signedBits(minimum_width);
  maximum = bits.signedBits(maximum_width);
  return true;
}

Result<void> decodeFixed(const CodeText& text, BitReader& reader, PacketForm form,
                         std::span<std::int32_t> values) {
  std::int32_t minimum = 0;
  std::int32_t maximum = 0;
  if (!readBounds(reader, form, minimum, maximum))
    return damaged("a bound is wider than 32 bits", text, reader.consumed());
  const std::uint32_t base = static_cast<std::uint32_t>(minimum);
  const auto width = static_cast<std::uint32_t>(std::bit_width(static_cast<std::uint32_t>(maximum) - base));
  if (reader.consumed() + std::uint64_t{width} * values.size() > reader.length()) {
    return damaged("the code text is too short", text, reader.consumed());
  }
  BitReader bits = reader;
  for (std::int32_t& value : values) value = static_cast<std::int32_t>(bits.bits(width) + base);
  reader = bits;
  return {};
}

Result<void> decodeVariable(const CodeText& text, BitReader& reader, PacketForm form,
                            std::span<std::int32_t> values) {
  std::int32_t mean = 0;
  std::uint32_t step_width = 4;
  std::uint32_t run_width = 4;
  if (form == PacketForm::V10) {
    if (!readNibbles(reader, mean)) return damaged("the mean is wider than 32 bits", text, reader.consumed());
  } else {
    mean = reader.signedBits(32);
    step_width = reader.bits(3);
    run_width = reader.bits(3);
  }
  if (step_width == 0) return damaged("width steps of no bits", text, reader.consumed());
  BitReader bits = reader;
  // A step at either end of its range says that one more follows.
  const std::int32_t lowest_step = -(1 << (step_width - 1));
  const std::int32_t highest_step = (1 << (step_width - 1)) - 1;
  std::int64_t width = 0;
  std::size_t done = 0;
  while (done < values.size()) {
    std::int32_t step = 0;
    do {
      step = bits.signedBits(step_width);
      width += step;
      if (bits.overread()) return damaged("the code text is too short", text, bits.consumed());
    } while (step == lowest_step || step == highest_step);
    if (width < 0 || width > kMaximumWidth)
      return damaged("a width outside of 0 to 32 bits", text, bits.consumed());
    const std::uint32_t run = bits.bits(run_width);
    if (run > values.size() - done) return damaged("a run goes past the last value", text, bits.consumed());
    const auto run_bits = static_cast<std::uint32_t>(width);
    for (std::int32_t& value : values.subspan(done, run)) {
      value = static_cast<std::int32_t>(static_cast<std::uint32_t>(bits.signedBits(run_bits)) +
                                        static_cast<std::uint32_t>(mean));
    }
    done += run;
  }
  reader = bits;
  return {};
}

}  // namespace

Result<void> decodeBitLength(const CodeText& text, PacketForm form, std::span<std::int32_t> values) {
  BitReader bits = text.bits();
  const bool variable = bits.bits(1) != 0;
  auto done = variable ? decodeVariable(text, bits, form, values) : decodeFixed(text, bits, form, values);
  if (!done) return done;
  if (bits.overread()) return damaged("the code text is too short", text, bits.consumed());
  if (bits.consumed() != bits.length()) {
    return damaged("bits are left over behind the last value", text, bits.consumed());
  }
  return {};
}

}  // namespace jttk
