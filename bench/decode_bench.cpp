// Decoding one shape: triangles per second for every coding, beside a plain copy of the decoded arrays and
// zlib's inflate of the same bytes (level 6), which are the lower bound and a familiar yardstick.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstring>
#include <stdexcept>

#include "bench/models.h"
#include "jttk/codec/shape_lod.h"

namespace {

using loftbay::maker::Codec;
using loftbay::maker::JtVersion;

constexpr std::size_t kTriangles = 200'000;

jttk::Version numberOf(JtVersion version) {
  switch (version) {
    case JtVersion::V8_0:
      return {8, 0};
    case JtVersion::V8_1:
      return {8, 1};
    case JtVersion::V8_2:
      return {8, 2};
    case JtVersion::V9_0:
      return {9, 0};
    case JtVersion::V9_5:
      return {9, 5};
    case JtVersion::V10_0:
      break;
  }
  return {10, 0};
}

jttk::Segment segmentOf(const loftbay::maker::Bytes& bytes) {
  jttk::Segment segment;
  segment.type = jttk::SegmentType::ShapeLod0;
  segment.unpacked.resize(bytes.size());
  std::memcpy(segment.unpacked.data(), bytes.data(), bytes.size());
  segment.data = segment.unpacked;
  return segment;
}

template <typename T>
void append(std::vector<unsigned char>& out, const std::vector<T>& values) {
  const std::size_t before = out.size();
  out.resize(before + values.size() * sizeof(T));
  if (!values.empty()) std::memcpy(out.data() + before, values.data(), values.size() * sizeof(T));
}

std::vector<unsigned char> arraysOf(const jttk::ShapeGeometry& shape) {
  std::vector<unsigned char> bytes;
  append(bytes, shape.positions);
  append(bytes, shape.normals);
  append(bytes, shape.primitive_starts);
  append(bytes, shape.corner_positions);
  append(bytes, shape.corner_records);
  return bytes;
}

jttk::ShapeGeometry decoded(const jttk::Segment& segment, JtVersion version) {
  auto shape = jttk::decodeShapeLod(segment, numberOf(version), jttk::ByteOrder::Little);
  if (!shape) throw std::runtime_error(shape.error().text());
  return *std::move(shape);
}

void decode(benchmark::State& state, JtVersion version, Codec codec, std::uint8_t bits) {
  loftbay::maker::Options options;
  options.version = version;
  options.codec = codec;
  options.coordinate_bits = bits;
  options.normal_bits = bits == 0 ? 0 : 8;
  const auto segment = segmentOf(loftbay::bench::ringSegment(kTriangles, options));
  std::size_t triangles = 0;
  std::size_t bytes = 0;
  for (auto _ : state) {
    const auto shape = decoded(segment, version);
    benchmark::DoNotOptimize(shape.positions.data());
    triangles = shape.corner_positions.size() / 3;
    state.PauseTiming();
    bytes = arraysOf(shape).size();
    state.ResumeTiming();
  }
  state.counters["triangles/s"] = benchmark::Counter(
      static_cast<double>(triangles) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

void copyDecoded(benchmark::State& state) {
  const auto segment = segmentOf(loftbay::bench::ringSegment(kTriangles, {}));
  const auto bytes = arraysOf(decoded(segment, JtVersion::V9_5));
  std::vector<unsigned char> target(bytes.size());
  for (auto _ : state) {
    std::memcpy(target.data(), bytes.data(), bytes.size());
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes.size()) * state.iterations());
}

void inflateDecoded(benchmark::State& state) {
  const auto segment = segmentOf(loftbay::bench::ringSegment(kTriangles, {}));
  const auto bytes = arraysOf(decoded(segment, JtVersion::V9_5));
  std::vector<unsigned char> packed(compressBound(bytes.size()));
  uLongf packed_size = packed.size();
  compress2(packed.data(), &packed_size, bytes.data(), bytes.size(), 6);
  std::vector<unsigned char> target(bytes.size());
  for (auto _ : state) {
    uLongf size = target.size();
    if (uncompress(target.data(), &size, packed.data(), packed_size) != Z_OK)
      throw std::runtime_error("inflate");
    benchmark::DoNotOptimize(target.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes.size()) * state.iterations());
}

BENCHMARK(copyDecoded)->Unit(benchmark::kMillisecond);
BENCHMARK(inflateDecoded)->Unit(benchmark::kMillisecond);
#define DECODE(name, ...) BENCHMARK_CAPTURE(decode, name, __VA_ARGS__)->Unit(benchmark::kMillisecond)
DECODE(v95_lossless_best, JtVersion::V9_5, Codec::Best, 0);
DECODE(v95_lossless_fixed_bits, JtVersion::V9_5, Codec::FixedBits, 0);
DECODE(v95_lossless_variable_bits, JtVersion::V9_5, Codec::VariableBits, 0);
DECODE(v95_lossless_arithmetic, JtVersion::V9_5, Codec::Arithmetic, 0);
DECODE(v95_lossless_chopper, JtVersion::V9_5, Codec::Chopper, 0);
DECODE(v95_quantised_best, JtVersion::V9_5, Codec::Best, 17);
DECODE(v100_lossless_best, JtVersion::V10_0, Codec::Best, 0);
DECODE(v100_lossless_move_to_front, JtVersion::V10_0, Codec::MoveToFront, 0);
DECODE(v100_quantised_best, JtVersion::V10_0, Codec::Best, 17);
DECODE(v80_lossless, JtVersion::V8_0, Codec::Best, 0);
DECODE(v80_quantised_variable_bits, JtVersion::V8_0, Codec::VariableBits, 17);
DECODE(v80_quantised_huffman, JtVersion::V8_0, Codec::Huffman, 17);
DECODE(v80_quantised_arithmetic, JtVersion::V8_0, Codec::Arithmetic, 17);
DECODE(v80_quantised_two_contexts, JtVersion::V8_0, Codec::ArithmeticTwoContexts, 17);

}  // namespace
