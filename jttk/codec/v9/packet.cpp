// A packet: I32 value count (0: nothing follows), U8 codec, data. Chopper, move to front and the arithmetic
// codec's out-of-band values hold packets themselves.
#include "jttk/codec/v9/packet.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "jttk/codec/v9/arithmetic.h"
#include "jttk/codec/v9/bit_length.h"
#include "jttk/codec/v9/code_text.h"

namespace jttk {
namespace {

// Packets within packets: real ones go three deep.
constexpr int kMaximumDepth = 8;
constexpr std::size_t kRecentValues = 16;

enum class CodecNumber : std::uint8_t {
  Null = 0,
  BitLength = 1,
  Arithmetic = 3,
  Chopper = 4,
  MoveToFront = 5
};

Result<void> expectCount(const std::vector<std::int32_t>& values, std::size_t count, const char* what,
                         std::uint64_t offset) {
  if (values.size() == count) return {};
  return fail(std::string(what) + " has " + std::to_string(values.size()) + " values instead of " +
                  std::to_string(count),
              offset);
}

// The values as they are, with their size before them.
Result<void> readNull(ByteReader& reader, std::vector<std::int32_t>& values) {
  const std::uint64_t start = reader.offset();
  const std::uint32_t size = reader.count("plain packet");
  if (!reader.ok()) return reader.unexpected();
  // Given in words by the published layout. In bytes or, as the other codecs have it, in bits is read as
  // well.
  const std::size_t bytes = values.size() * sizeof(std::int32_t);
  if (size != values.size() && size != bytes && size != std::uint64_t{bytes} * 8) {
    return fail("a plain packet of " + std::to_string(values.size()) + " values states a size of " +
                    std::to_string(size),
                start);
  }
  if (bytes > reader.remaining()) return fail("a plain packet ends too early", start);
  for (std::int32_t& value : values) value = reader.i32("plain packet");
  return {};
}

}  // namespace

Result<void> PacketReader::read(ByteReader& reader, const char* what, Predictor predictor,
                                std::uint32_t maximum_count, std::vector<std::int32_t>& values) {
  auto done = readPacket(reader, maximum_count, values, 0);
  if (!done) return tl::unexpected<Error>(done.error().in(what));
  undoPredictor(predictor, values);
  return {};
}

Result<void> PacketReader::readExactly(ByteReader& reader, const char* what, Predictor predictor,
                                       std::uint32_t count, std::vector<std::int32_t>& values) {
  const std::uint64_t start = reader.offset();
  auto done = read(reader, what, predictor, count, values);
  if (!done) return done;
  return expectCount(values, count, what, start);
}

Result<void> PacketReader::readPacket(ByteReader& reader, std::uint32_t maximum_count,
                                      std::vector<std::int32_t>& values, int depth) {
  values.clear();
  const std::uint64_t start = reader.offset();
  if (depth > kMaximumDepth) return fail("packets are nested too deeply", start);
  const std::uint32_t count = reader.count("packet");
  if (!reader.ok()) return reader.unexpected();
  if (count == 0) return {};
  if (count > maximum_count) {
    return fail(std::to_string(count) + " values in a packet that may hold " + std::to_string(maximum_count) +
                    " at most",
                start);
  }
  if (count > budget_) return fail("the packets of one shape hold too many values", start);
  if (auto taken = memory().take(count, sizeof(std::int32_t), start); !taken) return taken;
  budget_ -= count;
  const auto codec = static_cast<CodecNumber>(reader.u8("packet codec"));
  if (!reader.ok()) return reader.unexpected();
  values.resize(count);  // within the limits and paid for: codecs allocate nothing for the values
  switch (codec) {
    case CodecNumber::Null:
      return readNull(reader, values);
    case CodecNumber::BitLength: {
      const auto text = readCodeText(reader);
      if (!text) return passOn(text);
      return decodeBitLength(*text, form_, values);
    }
    case CodecNumber::Arithmetic:
      return readArithmetic(reader, values, depth);
    case CodecNumber::Chopper:
      return readChopper(reader, values, depth);
    case CodecNumber::MoveToFront:
      return readMoveToFront(reader, values, depth);
  }
  return fail("packet codec " + std::to_string(static_cast<int>(codec)) + " is not known", start + 4);
}

Result<void> PacketReader::readArithmetic(ByteReader& reader, std::vector<std::int32_t>& values, int depth) {
  const auto text = readCodeText(reader);
  if (!text) return passOn(text);
  const auto table = readProbabilityTable(reader, form_);
  if (!table) return passOn(table);
  std::vector<std::int32_t> out_of_band;
  if (form_ == PacketForm::V9 || table->has_escape) {
    const auto done = readPacket(reader, static_cast<std::uint32_t>(values.size()), out_of_band, depth + 1);
    if (!done) return tl::unexpected<Error>(done.error().in("out-of-band values"));
  }
  return decodeArithmetic(*text, *table, out_of_band, values);
}

// Values cut in two: the upper and lower bits are packets of their own, because the lower ones are noise.
Result<void> PacketReader::readChopper(ByteReader& reader, std::vector<std::int32_t>& values, int depth) {
  const std::uint64_t start = reader.offset();
  const auto count = static_cast<std::uint32_t>(values.size());
  const std::uint32_t chop_bits = reader.u8("chopper");
  if (!reader.ok()) return reader.unexpected();
  if (chop_bits == 0) {
    auto done = readPacket(reader, count, values, depth + 1);
    if (!done) return done;
    return expectCount(values, count, "the packet in a chopper packet", start);
  }
  const std::uint32_t bias = reader.u32("chopper");
  const std::uint32_t span_bits = reader.u8("chopper");
  if (!reader.ok()) return reader.unexpected();
  if (span_bits > 32 || chop_bits > span_bits) {
    return fail(
        "a chopper packet cuts " + std::to_string(chop_bits) + " of " + std::to_string(span_bits) + " bits",
        start);
  }
  std::vector<std::int32_t> lower;
  auto done = readPacket(reader, count, values, depth + 1);
  if (!done) return done;
  done = readPacket(reader, count, lower, depth + 1);
  if (!done) return done;
  done = expectCount(values, count, "the upper half of a chopper packet", start);
  if (!done) return done;
  done = expectCount(lower, count, "the lower half of a chopper packet", start);
  if (!done) return done;
  const std::uint32_t shift = span_bits - chop_bits;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t upper_bits = static_cast<std::uint32_t>(values[i]) << shift;
    values[i] = static_cast<std::int32_t>((static_cast<std::uint32_t>(lower[i]) | upper_bits) + bias);
  }
  return {};
}

// Each offset names one of the values used last, 0 being the latest; -1 takes a new value. Either way the
// value becomes the latest.
Result<void> PacketReader::readMoveToFront(ByteReader& reader, std::vector<std::int32_t>& values, int depth) {
  const std::uint64_t start = reader.offset();
  const auto count = static_cast<std::uint32_t>(values.size());
  std::vector<std::int32_t> fresh;
  auto done = readPacket(reader, count, fresh, depth + 1);
  if (!done) return done;
  done = readPacket(reader, count, values, depth + 1);
  if (!done) return done;
  done = expectCount(values, count, "the offsets of a move-to-front packet", start);
  if (!done) return done;
  std::int32_t recent[kRecentValues] = {};
  std::size_t known = 0;
  std::size_t used = 0;
  for (std::int32_t& value : values) {
    std::size_t index = 0;
    std::int32_t latest = 0;
    if (value == -1) {
      if (used == fresh.size()) return fail("a move-to-front packet has too few new values", start);
      latest = fresh[used++];
      if (known < kRecentValues) ++known;
      index = known - 1;
    } else {
      if (value < 0 || static_cast<std::size_t>(value) >= known) {
        return fail("a move-to-front packet refers to place " + std::to_string(value) + " of " +
                        std::to_string(known) + " recent values",
                    start);
      }
      index = static_cast<std::size_t>(value);
      latest = recent[index];
    }
    std::copy_backward(recent, recent + index, recent + index + 1);
    recent[0] = latest;
    value = latest;
  }
  if (used != fresh.size()) return fail("a move-to-front packet has new values left over", start);
  return {};
}

}  // namespace jttk
