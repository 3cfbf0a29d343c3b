// Predictors and the packet of 9.0 and later:
//   I32 count (0: nothing follows), U8 codec, then by codec
//   0 null          I32 words, the words
//   1 bit length    code text: fixed width above a minimum, or runs of a width around a mean
//   3 arithmetic    code text, table of values, packet of the values that are not in it
//   4 chopper       upper and lower bits as two packets
//   5 move to front new values and places in a window of 16
#include "samples/maker/packet.h"

#include <algorithm>
#include <limits>

#include "samples/maker/entropy.h"

namespace loftbay::maker {
namespace {

std::int32_t wrap(std::int64_t value) { return static_cast<std::int32_t>(static_cast<std::uint32_t>(value)); }
// 4 bits and a "more" bit at a time, lowest group first; the reader extends the sign of the last group.
void putNibbles(BitWriter& bits, std::int32_t value) {
  const unsigned groups = std::max(1U, (signedBitsFor(value) + 3) / 4);
  for (unsigned g = 0; g < groups; ++g) {
    bits.put(bitsOf(value) >> (4 * g) & 15U, 4);
    bits.put(g + 1 < groups);
  }
}

BitWriter fixedWidth(std::span<const std::int32_t> values, bool version10) {
  const auto [low, high] = std::minmax_element(values.begin(), values.end());
  BitWriter bits;
  bits.put(false);
  if (version10) {
    putNibbles(bits, *low);
    putNibbles(bits, *high);
  } else {
    const unsigned low_bits = std::max(1U, signedBitsFor(*low));
    const unsigned high_bits = std::max(1U, signedBitsFor(*high));
    bits.put(low_bits, 6);
    bits.put(high_bits, 6);
    bits.put(bitsOf(*low), low_bits);
    bits.put(bitsOf(*high), high_bits);
  }
  const unsigned width = bitsFor(bitsOf(*high) - bitsOf(*low));
  for (const auto value : values) bits.put(bitsOf(value) - bitsOf(*low), width);
  return bits;
}

// Where runs end so that the bits are fewest: the cost of a run is about its header and its length times
// its widest value. A change of width that needs several steps costs a little more than assumed.
std::vector<std::uint8_t> chooseRuns(const std::vector<std::uint8_t>& widths, unsigned header_bits,
                                     unsigned max_run) {
  const std::size_t n = widths.size();
  std::vector<std::uint64_t> cost(n + 1, std::numeric_limits<std::uint64_t>::max());
  std::vector<std::uint8_t> length(n + 1, 0);
  cost[0] = 0;
  for (std::size_t end = 1; end <= n; ++end) {
    unsigned widest = 0;
    for (unsigned run = 1; run <= max_run && run <= end; ++run) {
      widest = std::max<unsigned>(widest, widths[end - run]);
      const std::uint64_t total = cost[end - run] + header_bits + std::uint64_t{run} * widest;
      if (total < cost[end]) {
        cost[end] = total;
        length[end] = static_cast<std::uint8_t>(run);
      }
    }
  }
  std::vector<std::uint8_t> runs;
  for (std::size_t end = n; end > 0; end -= length[end]) runs.push_back(length[end]);
  std::reverse(runs.begin(), runs.end());
  return runs;
}

constexpr unsigned kStepBits = 4;  // signed change of width
constexpr unsigned kRunBits = 4;   // length of a run

BitWriter variableWidth(std::span<const std::int32_t> values, bool version10) {
  std::int64_t sum = 0;
  for (const auto value : values) sum += value;
  const std::int32_t mean = wrap(sum / static_cast<std::int64_t>(values.size()));
  const auto residual = [&](std::size_t i) { return wrap(std::int64_t{values[i]} - mean); };
  std::vector<std::uint8_t> widths(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    widths[i] = static_cast<std::uint8_t>(signedBitsFor(residual(i)));
  }

  BitWriter bits;
  bits.put(true);
  if (version10) {
    putNibbles(bits, mean);
  } else {
    bits.put(bitsOf(mean), 32);
    bits.put(kStepBits, 3);
    bits.put(kRunBits, 3);
  }
  constexpr int kMinStep = -(1 << (kStepBits - 1));
  constexpr int kMaxStep = (1 << (kStepBits - 1)) - 1;
  int width = 0;
  std::size_t i = 0;
  for (const unsigned run : chooseRuns(widths, kStepBits + kRunBits, (1U << kRunBits) - 1)) {
    const int wanted = *std::max_element(widths.begin() + static_cast<std::ptrdiff_t>(i),
                                         widths.begin() + static_cast<std::ptrdiff_t>(i + run));
    int step = 0;
    do {  // an extreme step says that another follows
      step = std::clamp(wanted - width, kMinStep, kMaxStep);
      bits.put(static_cast<std::uint32_t>(step), kStepBits);
      width += step;
    } while (step == kMinStep || step == kMaxStep);
    bits.put(run, kRunBits);
    for (const std::size_t end = i + run; i < end; ++i) {
      bits.put(bitsOf(residual(i)), static_cast<unsigned>(width));
    }
  }
  return bits;
}

void writeArithmetic(ByteWriter& out, const ValueTable& table, bool version10) {
  ArithmeticEncoder encoder;
  std::vector<std::uint32_t> cumulative(table.entries.size() + 1, 0);
  std::uint32_t most = 0;
  for (std::size_t i = 0; i < table.entries.size(); ++i) {
    cumulative[i + 1] = cumulative[i] + table.entries[i].occurrences;
    most = std::max(most, table.entries[i].occurrences);
  }
  for (const auto entry : table.entry_of) {
    encoder.encode(cumulative[entry], table.entries[entry].occurrences, table.total);
  }
  encoder.finish();
  encoder.bits().writeCodeText(out);

  const unsigned occurrence_bits = bitsFor(most);
  const unsigned value_bits = bitsFor(table.value_span);
  BitWriter bits;
  bits.put(static_cast<std::uint32_t>(table.entries.size()), 16);
  const unsigned symbol_bits = bitsFor(static_cast<std::uint32_t>(table.entries.size()) + 1);
  if (!version10) bits.put(symbol_bits, 6);
  bits.put(occurrence_bits, 6);
  bits.put(value_bits, version10 ? 7 : 6);
  bits.put(bitsOf(table.minimum), 32);
  std::uint32_t symbol = 0;
  for (const auto& entry : table.entries) {
    if (version10) {
      bits.put(entry.escape);
    } else {  // stored plus 2; the escape is symbol -2
      bits.put(entry.escape ? 0 : symbol++ + 2, symbol_bits);
    }
    bits.put(entry.occurrences, occurrence_bits);
    bits.put(entry.escape ? 0 : bitsOf(entry.value) - bitsOf(table.minimum), value_bits);
  }
  bits.writeBytes(out);
  if (!version10 || table.hasEscape()) {
    writePacketV9(out, table.out_of_band, Codec::VariableBits, version10);
  }
}

void writeChopper(ByteWriter& out, std::span<const std::int32_t> values, bool version10) {
  const auto [low, high] = std::minmax_element(values.begin(), values.end());
  const unsigned span_bits = bitsFor(bitsOf(*high) - bitsOf(*low));
  const unsigned chop_bits = span_bits / 2;
  out.u8(chop_bits);
  if (chop_bits == 0) {
    writePacketV9(out, values, Codec::VariableBits, version10);
    return;
  }
  out.i32(*low);
  out.u8(span_bits);
  const unsigned low_bits = span_bits - chop_bits;
  std::vector<std::int32_t> upper(values.size());
  std::vector<std::int32_t> lower(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::uint32_t offset = bitsOf(values[i]) - bitsOf(*low);
    upper[i] = wrap(offset >> low_bits);
    lower[i] = wrap(offset & ((1U << low_bits) - 1));
  }
  writePacketV9(out, upper, Codec::Arithmetic, version10);
  writePacketV9(out, lower, Codec::FixedBits, version10);
}

void writeMoveToFront(ByteWriter& out, std::span<const std::int32_t> values) {
  constexpr std::size_t kWindow = 16;
  std::vector<std::int32_t> window;
  std::vector<std::int32_t> fresh;
  std::vector<std::int32_t> offsets;
  offsets.reserve(values.size());
  for (const auto value : values) {
    const auto found = std::find(window.begin(), window.end(), value);
    if (found == window.end()) {
      offsets.push_back(-1);
      fresh.push_back(value);
      if (window.size() == kWindow) window.pop_back();
      window.insert(window.begin(), value);
    } else {
      offsets.push_back(static_cast<std::int32_t>(found - window.begin()));
      std::rotate(window.begin(), found, found + 1);
    }
  }
  writePacketV9(out, fresh, Codec::VariableBits, true);
  writePacketV9(out, offsets, Codec::Arithmetic, true);
}

void writeBitLength(ByteWriter& out, const BitWriter& bits) {
  out.u8(1);
  bits.writeCodeText(out);
}

void writeBest(ByteWriter& out, std::span<const std::int32_t> values, bool version10) {
  const BitWriter fixed = fixedWidth(values, version10);
  const BitWriter variable = variableWidth(values, version10);
  const std::size_t least = std::min(fixed.bitCount(), variable.bitCount());
  if (const auto table = makeTable(values, 512, 2048); table && table->estimated_bits < double(least)) {
    out.u8(3);
    writeArithmetic(out, *table, version10);
  } else {
    writeBitLength(out, fixed.bitCount() <= variable.bitCount() ? fixed : variable);
  }
}

}  // namespace

std::vector<std::int32_t> residuals(std::span<const std::int32_t> values, Predictor predictor) {
  std::vector<std::int32_t> out(values.begin(), values.end());
  if (predictor == Predictor::None) return out;
  for (std::size_t i = 4; i < values.size(); ++i) {
    const auto v = [&](std::size_t back) { return std::int64_t{values[i - back]}; };
    std::int64_t expected = v(1);
    if (predictor == Predictor::Stride1) expected = v(1) + (v(1) - v(2));
    if (predictor == Predictor::StripIndex) {
      const std::int64_t step = v(2) - v(4);
      expected = v(2) + (-8 < step && step < 8 ? step : 2);
    }
    out[i] = wrap(std::int64_t{values[i]} - expected);
  }
  return out;
}

void writePacketV9(ByteWriter& out, std::span<const std::int32_t> values, Codec codec, bool version10) {
  out.i32(static_cast<std::int64_t>(values.size()));
  if (values.empty()) return;
  if (codec == Codec::MoveToFront && !version10) codec = Codec::VariableBits;
  switch (codec) {
    case Codec::Best:
      return writeBest(out, values, version10);
    case Codec::Null:
      out.u8(0);
      out.i32(static_cast<std::int64_t>(values.size()));
      for (const auto value : values) out.i32(value);
      return;
    case Codec::FixedBits:
      return writeBitLength(out, fixedWidth(values, version10));
    case Codec::Arithmetic:
      // With so many different values that only escapes would be left, the bits are written instead.
      if (const auto table = makeTable(values, 1024, std::numeric_limits<std::size_t>::max());
          table && table->out_of_band.size() < values.size()) {
        out.u8(3);
        writeArithmetic(out, *table, version10);
        return;
      }
      break;
    case Codec::Chopper:
      out.u8(4);
      return writeChopper(out, values, version10);
    case Codec::MoveToFront:
      out.u8(5);
      return writeMoveToFront(out, values);
    case Codec::VariableBits:
    case Codec::ArithmeticTwoContexts:
    case Codec::Huffman:
      break;
  }
  writeBitLength(out, variableWidth(values, version10));
}

void writePacket(ByteWriter& out, std::span<const std::int32_t> values, Predictor predictor,
                 const Options& options) {
  std::vector<std::int32_t> coded;
  if (predictor != Predictor::None) {
    coded = residuals(values, predictor);
    values = coded;
  }
  if (options.major() == 8) {
    writePacketV8(out, values, options.codec);
  } else {
    writePacketV9(out, values, options.codec, options.major() == 10);
  }
}

}  // namespace loftbay::maker
