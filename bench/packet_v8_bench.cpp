// Decoding speed of the JT 8.x packet codecs, in decoded bytes per second. The values have a geometric
// distribution, as residuals of neighbouring vertices do: half of them are one value, a quarter another, ….
#include <benchmark/benchmark.h>

#include <algorithm>
#include <bit>
#include <random>
#include <string>
#include <vector>

#include "jttk/codec/v8/packet.h"
#include "samples/maker/entropy.h"
#include "samples/maker/pieces/packets_v8.h"

namespace {

using namespace loftbay::maker::pieces;  // NOLINT: the writers
using loftbay::maker::ArithmeticEncoder;

constexpr std::size_t kValueCount = 32000;
constexpr std::size_t kSymbols = 12;

// Which symbol each value is: 0 is the rarest, kSymbols - 1 every other one.
std::vector<std::size_t> symbols() {
  std::mt19937 random(1);
  std::vector<std::size_t> result;
  for (std::size_t i = 0; i < kValueCount; ++i) {
    const auto zeros = static_cast<std::size_t>(std::countl_zero(static_cast<std::uint32_t>(random())));
    result.push_back(kSymbols - 1 - std::min(zeros, kSymbols - 1));
  }
  return result;
}

std::vector<std::vector<Entry>> table() {
  std::vector<Entry> entries;
  for (std::size_t i = 0; i < kSymbols; ++i) {
    const auto number = static_cast<std::int32_t>(i);
    entries.push_back({number, 1U << i, number - 6});
  }
  return {entries};
}

// Doubling counts give codes of a chain: ones for each more frequent symbol, then a zero.
ByteBuilder huffman() {
  BitBuilder text;
  for (const std::size_t symbol : symbols())
    text.bits(std::string(kSymbols - 1 - symbol, '1') + (symbol == 0 ? "" : "0"));
  return symbolPacket(2, table(), {}, text, kValueCount);
}

ByteBuilder arithmetic() {
  ArithmeticEncoder encoder;
  for (const std::size_t symbol : symbols())
    encoder.encode((1U << symbol) - 1, 1U << symbol, (1U << kSymbols) - 1);
  encoder.finish();
  return symbolPacket(3, table(), {}, BitBuilder(encoder.bits()), kValueCount);
}

// Two tables that are alike and take turns.
ByteBuilder arithmeticTwoTables() {
  std::vector<std::vector<Entry>> tables = {table()[0], table()[0]};
  for (Entry& entry : tables[0]) entry.next = 1;
  ArithmeticEncoder encoder;
  for (const std::size_t symbol : symbols())
    encoder.encode((1U << symbol) - 1, 1U << symbol, (1U << kSymbols) - 1);
  encoder.finish();
  return symbolPacket(3, tables, {}, BitBuilder(encoder.bits()), kValueCount, kValueCount);
}

// Every eighth value changes the width between 12 and 14 bits.
ByteBuilder bitLength() {
  std::mt19937 random(1);
  BitBuilder text;
  int width = 0;
  for (std::size_t i = 0; i < kValueCount; ++i) {
    if (i == 0) {
      text.bits("1 1111110");
      width = 12;
    } else if (i % 8 == 0) {
      text.bits(width == 12 ? "1 10" : "1 01");
      width = width == 12 ? 14 : 12;
    } else {
      text.bits("0");
    }
    text.number(random(), width);
  }
  return bitLengthPacket(text, kValueCount);
}

ByteBuilder null() { return nullPacket(std::vector<std::int32_t>(kValueCount, 5)); }

void decode(benchmark::State& state, ByteBuilder (*make)()) {
  const ByteBuilder packet = make();
  std::vector<std::int32_t> values;
  for (auto _ : state) {
    jttk::ByteReader in(packet.view());
    const auto read = jttk::decodePacketV8(in, kValueCount, values);
    if (!read) {
      state.SkipWithError(read.error().text().c_str());
      break;
    }
    benchmark::DoNotOptimize(values.data());
  }
  constexpr auto kBytes = static_cast<std::int64_t>(kValueCount * sizeof(std::int32_t));
  state.SetBytesProcessed(state.iterations() * kBytes);
}

BENCHMARK_CAPTURE(decode, null, null);
BENCHMARK_CAPTURE(decode, bit_length, bitLength);
BENCHMARK_CAPTURE(decode, huffman, huffman);
BENCHMARK_CAPTURE(decode, arithmetic, arithmetic);
BENCHMARK_CAPTURE(decode, arithmetic_two_tables, arithmeticTwoTables);

}  // namespace
