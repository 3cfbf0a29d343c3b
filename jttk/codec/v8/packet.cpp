// Reads a packet: the codec's byte, for Huffman and arithmetic the probability contexts and the out-of-band
// packet, then the lengths and the code text, which is a sequence of words in the file's byte order. A code
// text must be used up to its last bit, except by the arithmetic coder, which leaves some bits and reads
// ahead of what it needs.
#include "jttk/codec/v8/packet.h"

#include <algorithm>
#include <array>
#include <bit>
#include <iterator>
#include <span>
#include <string>
#include <utility>

#include "jttk/codec/bits/arithmetic_coder.h"
#include "jttk/codec/bits/bit_reader.h"
#include "jttk/codec/v8/huffman.h"
#include "jttk/codec/v8/probability_contexts.h"

namespace jttk {

namespace {

// Real files nest once.
constexpr int kMaximumDepthV8 = 4;
// The arithmetic coder's code register is filled ahead of what it needs.
constexpr std::uint64_t kArithmeticReadAhead = 16;

enum class CodecV8 : std::uint8_t { Null = 0, BitLength = 1, Huffman = 2, Arithmetic = 3 };

using Values = std::vector<std::int32_t>;

struct Limits {
  std::size_t values;
  MemoryBudget& memory;
};

// The number of values, for which memory has been taken.
Result<std::size_t> readValueCount(ByteReader& in, const Limits& limits) {
  const std::uint64_t offset = in.offset();
  const std::int32_t count = in.i32("value count");
  if (!in.ok()) return in.unexpected();
  if (count < 0 || static_cast<std::uint32_t>(count) > limits.values) {
    return fail(std::to_string(count) + " values in a packet that may hold " + std::to_string(limits.values),
                offset);
  }
  auto taken = limits.memory.take(static_cast<std::uint32_t>(count), sizeof(std::int32_t), offset);
  if (!taken) return passOn(taken);
  return static_cast<std::size_t>(count);
}

// The numbers between the probability contexts and the code text.
struct CodeTextHeader {
  std::uint32_t bit_count = 0;
  std::size_t value_count = 0;
  std::size_t symbol_count = 0;  // the value count unless there are two tables
};

Result<CodeTextHeader> readCodeTextHeader(ByteReader& in, const Limits& limits, bool has_symbol_count) {
  CodeTextHeader header;
  header.bit_count = in.count("code text length");
  const Result<std::size_t> value_count = readValueCount(in, limits);
  if (!value_count) return passOn(value_count);
  header.value_count = *value_count;
  header.symbol_count = *value_count;
  if (has_symbol_count) {
    const std::uint64_t offset = in.offset();
    header.symbol_count = in.count("symbol count");
    // A symbol without a value changes to the first table, whose symbols all have values.
    if (in.ok() &&
        (header.symbol_count < header.value_count || header.symbol_count > 2 * header.value_count + 1)) {
      return fail(std::to_string(header.symbol_count) + " symbols for " + std::to_string(header.value_count) +
                      " values",
                  offset);
    }
  }
  if (!in.ok()) return in.unexpected();
  return header;
}

Result<BitReader> readCodeText(ByteReader& in, std::uint32_t bit_count) {
  const std::uint64_t offset = in.offset();
  const std::uint32_t word_count = in.count("code text word count", 4);
  if (in.ok() && word_count < (std::uint64_t{bit_count} + 31) / 32) {
    return fail(
        "a code text of " + std::to_string(bit_count) + " bits in " + std::to_string(word_count) + " words",
        offset);
  }
  const std::span<const std::byte> words = in.take(std::size_t{word_count} * 4, "code text");
  if (!in.ok()) return in.unexpected();
  return BitReader(words, in.order(), bit_count);
}

Result<void> decodeNull(ByteReader& in, const Limits& limits, Values& values) {
  // Checked against the bytes left first, so that the error names these and not the caller's limit.
  if (ByteReader ahead = in; ahead.count("value count", 4) == 0 && !ahead.ok()) return ahead.unexpected();
  const Result<std::size_t> count = readValueCount(in, limits);
  if (!count) return passOn(count);
  values.resize(*count);
  for (std::int32_t& value : values) value = in.i32("value");
  return {};
}

// A bit per value: 0 keeps the width, 1 changes it. After the 1 stands the direction (1 wider, 0 narrower);
// each repetition of the direction is a step of 2 bits more, and the other bit ends the change.
Result<void> decodeBitLengths(BitReader& bits, std::uint64_t offset, std::span<std::int32_t> values) {
  constexpr unsigned kStep = 2;
  constexpr unsigned kMaximumSteps = 16;  // from no bits to 32
  unsigned width = 0;
  for (std::int32_t& value : values) {
    if (bits.bits(1) != 0) {
      const std::uint32_t change = bits.peek(1 + kMaximumSteps);
      // The direction's run of equal bits, moved to the top of the word.
      const std::uint32_t run = change << (32 - 1 - kMaximumSteps);
      const bool wider = (run >> 31) != 0;
      const auto steps = static_cast<unsigned>(wider ? std::countl_one(run) : std::countl_zero(run));
      if (steps > kMaximumSteps) return fail("a width changes by more than 32 bits", offset);
      const unsigned difference = steps * kStep;
      if (wider ? difference > 32 - width : difference > width) {
        return fail("a width is not within 0 to 32 bits", offset);
      }
      width = wider ? width + difference : width - difference;
      bits.skip(steps + 1);
    }
    value = bits.signedBits(width);
  }
  if (bits.consumed() == bits.length()) return {};
  return fail("the values do not end where the code text does", offset);
}

Result<void> decodeBitLength(ByteReader& in, const Limits& limits, Values& values) {
  const std::uint64_t offset = in.offset();
  const Result<CodeTextHeader> header = readCodeTextHeader(in, limits, false);
  if (!header) return passOn(header);
  if (header->value_count > header->bit_count) {
    return fail(
        std::to_string(header->value_count) + " values in " + std::to_string(header->bit_count) + " bits",
        offset);
  }
  Result<BitReader> bits = readCodeText(in, header->bit_count);
  if (!bits) return passOn(bits);
  values.resize(header->value_count);
  if (const auto decoded = decodeBitLengths(*bits, offset, values); !decoded) {
    return tl::unexpected(decoded.error().in("bit lengths"));
  }
  return {};
}

// Symbols that are to be decoded, with what is needed for it.
struct Coded {
  const ProbabilityContexts& contexts;
  std::size_t symbol_count;
  std::span<const std::int32_t> out_of_band;
  std::uint64_t offset;  // of the numbers in front of the code text, for messages
};

// What next_symbol below gives for a table that has no symbols.
constexpr std::uint32_t kNoEntry = 0xffffffffU;

// Decodes symbols and turns them into values. `next_symbol(context)` gives the entry's index in the table
// of that context.
template <typename NextSymbol>
Result<void> decodeSymbols(const Coded& coded, std::span<std::int32_t> values, NextSymbol next_symbol) {
  const ProbabilityContexts& contexts = coded.contexts;
  const std::span<const std::int32_t> out_of_band = coded.out_of_band;
  std::size_t context = 0;
  std::size_t value_count = 0;
  std::size_t out_of_band_count = 0;
  for (std::size_t i = 0; i < coded.symbol_count; ++i) {
    const std::uint32_t index = next_symbol(context);
    if (index == kNoEntry) return fail("a symbol of a table without symbols", coded.offset);
    const ContextEntry& entry = contexts.tables[context].entries[index];
    std::int32_t value = entry.value;
    if (entry.escape) {
      if (context != 0) {  // only a change of context
        context = entry.next_context;
        continue;
      }
      if (out_of_band_count == out_of_band.size()) {
        return fail("more escapes than out-of-band values", coded.offset);
      }
      value = out_of_band[out_of_band_count++];
    }
    if (value_count == values.size()) return fail("more values than announced", coded.offset);
    values[value_count++] = value;
    context = entry.next_context;
  }
  if (value_count != values.size()) return fail("fewer values than announced", coded.offset);
  if (out_of_band_count == out_of_band.size()) return {};
  return fail("out-of-band values are left over", coded.offset);
}

Result<void> decodeHuffman(const Coded& coded, BitReader& bits, std::span<std::int32_t> values) {
  const ProbabilityContexts& contexts = coded.contexts;
  std::array<HuffmanDecoder, 2> decoders;
  for (std::size_t i = 0; i < contexts.table_count; ++i) decoders[i] = HuffmanDecoder(contexts.tables[i]);
  auto decoded = decodeSymbols(coded, values, [&](std::size_t context) {
    return decoders[context].empty() ? kNoEntry : decoders[context].decode(bits);
  });
  if (!decoded || bits.consumed() == bits.length()) return decoded;
  // A code of one symbol needs no bits; some writers spend one on each value none the less.
  const bool one_symbol = contexts.table_count == 1 && contexts.tables[0].entries.size() == 1;
  if (one_symbol && bits.length() == coded.symbol_count) return {};
  return fail("the values do not end where the code text does", coded.offset);
}

// A table with more occurrences than the quick decoder takes: where each entry ends in 0 .. total.
class SearchedTable {
 public:
  // Products of the total with the decoder's range stay within 64 bits.
  static constexpr std::uint64_t kMaximumTotal = 0xffffffffU;

  SearchedTable() = default;
  explicit SearchedTable(const ContextTable& table) {
    ends_.reserve(table.entries.size());
    std::uint64_t end = 0;
    for (const ContextEntry& entry : table.entries) ends_.push_back(end += entry.count);
  }
  [[nodiscard]] bool empty() const { return ends_.empty(); }

  [[nodiscard]] std::uint32_t decode(ArithmeticDecoder& decoder) const {
    const std::uint64_t total = ends_.back();
    const auto entry = std::upper_bound(ends_.begin(), ends_.end(), decoder.position(total));
    decoder.take(entry == ends_.begin() ? 0 : *std::prev(entry), *entry, total);
    return static_cast<std::uint32_t>(entry - ends_.begin());
  }

 private:
  std::vector<std::uint64_t> ends_;
};

Result<void> decodeArithmetic(const Coded& coded, BitReader& bits, std::span<std::int32_t> values) {
  const ProbabilityContexts& contexts = coded.contexts;
  std::array<ArithmeticTable, 2> tables;
  std::array<SearchedTable, 2> large_tables;
  for (std::size_t i = 0; i < contexts.table_count; ++i) {
    const ContextTable& table = contexts.tables[i];
    if (table.total > SearchedTable::kMaximumTotal) {
      return fail("a table with more than 2^32 occurrences", coded.offset);
    }
    if (table.total > kMaximumQuickTotal) {
      large_tables[i] = SearchedTable(table);
      continue;
    }
    tables[i] = ArithmeticTable(table.entries, table.total, [](const auto& entry) { return entry.count; });
  }
  ArithmeticDecoder decoder(bits);
  auto decoded = decodeSymbols(coded, values, [&](std::size_t context) {
    if (!large_tables[context].empty()) return large_tables[context].decode(decoder);
    return tables[context].empty() ? kNoEntry : decoder.decode(tables[context]);
  });
  if (!decoded || decoder.bits().consumed() <= bits.length() + kArithmeticReadAhead) return decoded;
  return fail("the code text ends too early", coded.offset);
}

Result<void> decodePacket(ByteReader& in, const Limits& limits, int depth, Values& values);

Result<void> readOutOfBand(ByteReader& in, const Limits& limits, int depth, Values& out_of_band) {
  const Result<std::size_t> count = readValueCount(in, limits);
  if (!count) return passOn(count);
  if (*count == 0) return {};
  const std::uint64_t offset = in.offset();
  if (Result<void> read = decodePacket(in, {*count, limits.memory}, depth + 1, out_of_band); !read)
    return read;
  if (out_of_band.size() == *count) return {};
  return fail(
      std::to_string(out_of_band.size()) + " values where " + std::to_string(*count) + " are announced",
      offset);
}

// Huffman and arithmetic packets are laid out alike.
Result<void> decodeSymbolPacket(ByteReader& in, CodecV8 codec, const Limits& limits, int depth,
                                Values& values) {
  const Result<ProbabilityContexts> contexts = readProbabilityContexts(in);
  if (!contexts) return passOn(contexts);
  Values out_of_band;
  if (Result<void> read = readOutOfBand(in, limits, depth, out_of_band); !read) {
    return tl::unexpected(read.error().in("out-of-band values"));
  }
  const std::uint64_t offset = in.offset();
  const Result<CodeTextHeader> header = readCodeTextHeader(in, limits, contexts->table_count == 2);
  if (!header) return passOn(header);
  Result<BitReader> bits = readCodeText(in, header->bit_count);
  if (!bits) return passOn(bits);
  values.resize(header->value_count);
  const auto decode = codec == CodecV8::Huffman ? decodeHuffman : decodeArithmetic;
  const Coded coded{*contexts, header->symbol_count, out_of_band, offset};
  if (const auto decoded = decode(coded, *bits, values); !decoded) {
    return tl::unexpected(decoded.error().in(codec == CodecV8::Huffman ? "Huffman code" : "arithmetic code"));
  }
  return {};
}

Result<void> decodePacket(ByteReader& in, const Limits& limits, int depth, Values& values) {
  const std::uint64_t offset = in.offset();
  if (depth > kMaximumDepthV8) return fail("packets are nested too deeply", offset);
  values.clear();
  const auto codec = static_cast<CodecV8>(in.u8("codec"));
  if (!in.ok()) return in.unexpected();
  switch (codec) {
    case CodecV8::Null:
      return decodeNull(in, limits, values);
    case CodecV8::BitLength:
      return decodeBitLength(in, limits, values);
    case CodecV8::Huffman:
    case CodecV8::Arithmetic:
      return decodeSymbolPacket(in, codec, limits, depth, values);
  }
  return fail("codec " + std::to_string(static_cast<unsigned>(codec)) + " is not known", offset);
}

Result<void> skipPacket(ByteReader& in, int depth) {
  if (depth > kMaximumDepthV8) return fail("packets are nested too deeply", in.offset());
  const auto codec = static_cast<CodecV8>(in.u8("codec"));
  if (codec > CodecV8::Arithmetic) in.setFailed("codec", "is not known");
  if (codec == CodecV8::Null) {
    in.skip(std::size_t{in.count("value count", 4)} * 4, "values");
  } else {
    bool two_tables = false;
    if (codec != CodecV8::BitLength) {
      const Result<ProbabilityContexts> contexts = readProbabilityContexts(in);
      if (!contexts) return passOn(contexts);
      two_tables = contexts->table_count == 2;
      if (in.i32("out-of-band count") != 0) {
        if (Result<void> skipped = skipPacket(in, depth + 1); !skipped) return skipped;
      }
    }
    in.skip((two_tables ? 3 : 2) * sizeof(std::int32_t), "code text header");
    in.skip(std::size_t{in.count("code text word count", 4)} * 4, "code text");
  }
  if (!in.ok()) return in.unexpected();
  return {};
}

}  // namespace

Result<void> decodePacketV8(ByteReader& in, std::size_t maximum_count, std::vector<std::int32_t>& values,
                            MemoryBudget* memory) {
  MemoryBudget unlimited;
  return decodePacket(in, {maximum_count, memory != nullptr ? *memory : unlimited}, 0, values);
}

Result<void> skipPacketV8(ByteReader& in) { return skipPacket(in, 0); }

}  // namespace jttk
