// Shape LOD elements of JT 8.x. The first byte is the byte order (bit 0) and the kind of element (the rest),
// then comes the element's body. A decoded shape must be one that its users can walk without checks of
// their own.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "jttk/codec/v8/shape_lod.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

void checkShape(const jttk::ShapeGeometry& shape) {
  const std::size_t corners = shape.corner_positions.size();
  require(shape.positions.size() % 3 == 0 && shape.normals.size() % 3 == 0);
  require(shape.texture_coordinates.size() % 3 == 0 && shape.colors.size() % 4 == 0);
  for (const std::uint32_t position : shape.corner_positions) require(position < shape.positions.size() / 3);
  require(shape.corner_records.empty() || shape.corner_records.size() == corners);
  for (const std::uint32_t record : shape.corner_records) {
    require(shape.normals.empty() || record < shape.normals.size() / 3);
    require(shape.texture_coordinates.empty() || record < shape.texture_coordinates.size() / 3);
    require(shape.colors.empty() || record < shape.colors.size() / 4);
  }
  if (shape.corner_records.empty() && corners != 0) {
    require(shape.normals.empty() && shape.texture_coordinates.empty() && shape.colors.empty());
  }
  if (shape.primitive_starts.empty()) {
    require(corners == 0);
    return;
  }
  require(shape.primitive_starts.size() > 1);
  require(shape.primitive_starts.front() == 0 && shape.primitive_starts.back() == corners);
  for (std::size_t i = 1; i < shape.primitive_starts.size(); ++i) {
    require(shape.primitive_starts[i - 1] <= shape.primitive_starts[i]);
  }
}

constexpr jttk::Guid guid(std::uint32_t a) {
  return {a, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
}

constexpr jttk::Guid kKinds[] = {
    guid(0x10dd10ab),                                                                // tri-strip set
    guid(0x10dd10a1),                                                                // polyline set
    guid(0x10dd109f),                                                                // polygon set
    {0x98134716, 0x0011, 0x0818, {0x19, 0x98, 0x08, 0x00, 0x09, 0x83, 0x5d, 0x5a}},  // point set
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const auto order = (data[0] & 1U) != 0 ? jttk::ByteOrder::Big : jttk::ByteOrder::Little;
  const jttk::ByteReader body(std::as_bytes(std::span(data + 1, size - 1)), order);
  const auto shape =
      jttk::decodeShapeLodV8(body, kKinds[(data[0] >> 1) % std::size(kKinds)], {{}, nullptr, true});
  if (shape) checkShape(*shape);
  return 0;
}
