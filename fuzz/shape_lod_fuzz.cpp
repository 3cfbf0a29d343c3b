// Decodes any bytes as a shape segment; the first byte chooses the version. Seeds: corpus/shape_lod_fuzz.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "jttk/codec/shape_lod.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

// What the rest of the program relies on.
void check(const jttk::ShapeGeometry& shape) {
  require(shape.positions.size() % 3 == 0 && shape.normals.size() % 3 == 0);
  require(shape.colors.size() % 4 == 0 && shape.texture_coordinates.size() % 3 == 0);
  std::uint32_t last = 0;
  for (const std::uint32_t start : shape.primitive_starts) {
    require(start >= last);
    last = start;
  }
  require(shape.primitive_starts.empty() || shape.primitive_starts.front() == 0);
  require(last == shape.corner_positions.size());
  for (const std::uint32_t corner : shape.corner_positions)
    require(std::size_t{corner} * 3 < shape.positions.size());
  require(shape.corner_records.empty() || shape.corner_records.size() == shape.corner_positions.size());
  for (const std::uint32_t record : shape.corner_records) {
    if (record == jttk::ShapeGeometry::kNoRecord) continue;
    require(shape.normals.empty() || std::size_t{record} * 3 < shape.normals.size());
    require(shape.colors.empty() || std::size_t{record} * 4 < shape.colors.size());
    require(shape.texture_coordinates.empty() || std::size_t{record} * 3 < shape.texture_coordinates.size());
    require(shape.vertex_flags.empty() || record < shape.vertex_flags.size());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static constexpr jttk::Version kVersions[] = {{9, 5}, {10, 0}, {8, 1}};
  const jttk::Version version = kVersions[data[0] % 3];
  const auto order = (data[0] & 0x80U) != 0 ? jttk::ByteOrder::Big : jttk::ByteOrder::Little;
  jttk::Segment segment;
  segment.type = jttk::SegmentType::ShapeLod0;
  segment.data = std::as_bytes(std::span(data + 1, size - 1));
  const auto shape = jttk::decodeShapeLod(segment, version, order, {{}, nullptr, true});
  if (shape) check(*shape);
  return 0;
}
