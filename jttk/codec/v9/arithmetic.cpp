// Tables of up to 65535 occurrences are made ready for the quick decoder; larger ones are searched.
#include "jttk/codec/v9/arithmetic.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <string>

#include "jttk/codec/bits/arithmetic_coder.h"

namespace jttk {
namespace {

// The entry whose share of 0 .. total - 1 contains `place`: the last one that begins at or before it. An
// entry without occurrences begins where its successor does and is never chosen.
const ProbabilityEntry& entryAt(const ProbabilityTable& table, std::uint64_t position) {
  const auto behind = std::upper_bound(
      table.entries.begin(), table.entries.end(), position,
      [](std::uint64_t wanted, const ProbabilityEntry& entry) { return wanted < entry.cumulative; });
  return *std::prev(behind);
}

// `next()` gives the entry of the next symbol. False when there are too few out-of-band values.
template <typename Next>
bool decodeValues(std::span<const std::int32_t>& out_of_band, std::span<std::int32_t> values, Next next) {
  std::size_t used = 0;
  for (std::int32_t& value : values) {
    const ProbabilityEntry& entry = next();
    value = entry.value;
    if (entry.is_escape) {
      if (used == out_of_band.size()) return false;
      value = out_of_band[used++];
    }
  }
  out_of_band = out_of_band.subspan(used);
  return true;
}

}  // namespace

Result<ProbabilityTable> readProbabilityTable(ByteReader& reader, PacketForm form) {
  const std::uint64_t start = reader.offset();
  ByteReader rest = reader;
  const std::size_t available = reader.remaining();
  BitReader bits(rest.take(available, "probability table"), ByteOrder::Big, std::uint64_t{available} * 8);
  const bool has_symbols = form == PacketForm::V9;
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
  ArithmeticDecoder decoder(text.bits());
  bool done = false;
  if (table.total <= kMaximumQuickTotal) {
    const ArithmeticTable quick(table.entries, table.total,
                                [](const auto& entry) { return entry.occurrences; });
    const ProbabilityEntry* const entries = table.entries.data();
    done = decodeValues(out_of_band, values,
                        [&]() -> const ProbabilityEntry& { return entries[decoder.decode(quick)]; });
  } else {
    done = decodeValues(out_of_band, values, [&]() -> const ProbabilityEntry& {
      const ProbabilityEntry& entry = entryAt(table, decoder.position(table.total));
      decoder.take(entry.cumulative, std::uint64_t{entry.cumulative} + entry.occurrences, table.total);
      return entry;
    });
  }
  if (decoder.bits().overread()) return fail("arithmetic packet: the code text is too short", text.offset);
  if (!done) return fail("arithmetic packet: there are too few out-of-band values", text.offset);
  if (!out_of_band.empty()) return fail("arithmetic packet: out-of-band values are left over", text.offset);
  return {};
}

}  // namespace jttk
