// Reads probability contexts. Layout of a table, in bits: 32 entry count; 6 each for the widths of symbol,
// occurrence count, value (first table only) and next context; 32 minimum value (first table only); then
// per entry symbol + 2, count, value - minimum (first table only), next context.
#include "jttk/codec/v8/probability_contexts.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "jttk/codec/bits/bit_reader.h"

namespace jttk {

namespace {

constexpr std::uint32_t kStoredEscape = 0;  // symbols are stored plus 2, and the escape is -2
// Real tables have some dozen entries; the arithmetic coder's 16-bit registers cannot distinguish more.
constexpr std::uint32_t kMaximumEntries = 1U << 16;

// The values of the first table by stored symbol, ascending.
using SymbolValues = std::vector<std::pair<std::uint32_t, std::int32_t>>;

struct TableHeader {
  std::uint32_t entry_count = 0;
  unsigned symbol_bits = 0;
  unsigned count_bits = 0;
  unsigned value_bits = 0;
  unsigned next_bits = 0;
  std::uint32_t minimum = 0;
};

// `offset`: of all contexts, for messages.
Result<TableHeader> readHeader(BitReader& bits, bool first, std::uint64_t offset) {
  TableHeader header;
  header.entry_count = bits.bits(32);
  header.symbol_bits = bits.bits(6);
  header.count_bits = bits.bits(6);
  if (first) header.value_bits = bits.bits(6);
  header.next_bits = bits.bits(6);
  if (first) header.minimum = bits.bits(32);
  if (bits.overread()) return fail("the table ends too early", offset);
  if (std::max({header.symbol_bits, header.count_bits, header.value_bits, header.next_bits}) > 32) {
    return fail("a field of more than 32 bits", offset);
  }
  const std::uint64_t entry_bits =
      std::uint64_t{header.symbol_bits} + header.count_bits + header.value_bits + header.next_bits;
  // An entry without any bits can only be the one entry of its table.
  const std::uint64_t limit = entry_bits == 0 ? 1 : (bits.length() - bits.consumed()) / entry_bits;
  if (header.entry_count > limit) return fail("more entries than the bytes left can hold", offset);
  if (header.entry_count > kMaximumEntries) return fail("more than 65536 entries", offset);
  return header;
}

// The first table fills `values`, the second one takes its values from there.
Result<ContextTable> readTable(BitReader& bits, bool first, std::size_t table_count, std::uint64_t offset,
                               SymbolValues& values) {
  const Result<TableHeader> read = readHeader(bits, first, offset);
  if (!read) return passOn(read);
  const TableHeader& header = *read;
  ContextTable table;
  table.entries.resize(header.entry_count);
  if (first) values.reserve(header.entry_count);
  for (ContextEntry& entry : table.entries) {
    const std::uint32_t symbol = bits.bits(header.symbol_bits);
    entry.escape = symbol == kStoredEscape;
    entry.count = bits.bits(header.count_bits);
    table.total += entry.count;
    if (first) {
      entry.value = static_cast<std::int32_t>(bits.bits(header.value_bits) + header.minimum);
      values.emplace_back(symbol, entry.value);
    } else if (!entry.escape) {
      const auto found =
          std::lower_bound(values.begin(), values.end(), symbol,
                           [](const auto& pair, std::uint32_t wanted) { return pair.first < wanted; });
      if (found == values.end() || found->first != symbol) {
        return fail("a symbol that the first table lacks", offset);
      }
      entry.value = found->second;
    }
    const std::uint32_t next = bits.bits(header.next_bits);
    if (next >= table_count) return fail("a next context that does not exist", offset);
    entry.next_context = static_cast<std::uint8_t>(next);
  }
  return table;
}

}  // namespace

Result<ProbabilityContexts> readProbabilityContexts(ByteReader& in) {
  const std::uint64_t start = in.offset();
  ProbabilityContexts contexts;
  contexts.table_count = in.u8("probability table count");
  if (!in.ok()) return in.unexpected();
  if (contexts.table_count < 1 || contexts.table_count > contexts.tables.size()) {
    return fail("probability contexts: " + std::to_string(contexts.table_count) + " tables, 1 or 2 expected",
                start);
  }
  ByteReader ahead = in;  // the length of the stream is known only once it is read
  const std::size_t available = in.remaining();
  BitReader bits(ahead.take(available, "probability contexts"), ByteOrder::Big, std::uint64_t{available} * 8);
  SymbolValues values;
  for (std::size_t i = 0; i < contexts.table_count; ++i) {
    auto table = readTable(bits, i == 0, contexts.table_count, in.offset(), values);
    if (!table) {
      return tl::unexpected(table.error().in("probability contexts: table " + std::to_string(i)));
    }
    contexts.tables[i] = std::move(*table);
    // Stable, so that of two entries with one symbol the earlier one gives the value.
    if (i == 0) {
      std::stable_sort(values.begin(), values.end(),
                       [](const auto& a, const auto& b) { return a.first < b.first; });
    }
  }
  in.skip(static_cast<std::size_t>((bits.consumed() + 7) / 8), "probability contexts");
  return contexts;
}

}  // namespace jttk
