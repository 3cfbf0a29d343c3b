// Shape LOD elements of JT 8.x: the fields that all vertex based shapes have in common, and the primitive
// list. Layout: I16 version, I32 bindings, U8[4] bits, I16 version of the set; then the compressed
// representation: I16 version, U8[3] bindings, U8[4] bits, a packet of primitive starts, vertex data.
#include "jttk/codec/v8/shape_lod.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "jttk/codec/predictors.h"
#include "jttk/codec/shape_limits.h"
#include "jttk/codec/v8/packet.h"
#include "jttk/codec/v8/shape_data.h"
#include "jttk/file/object_ids.h"

namespace jttk {

namespace {

using v8::Binding;
using v8::Bindings;
using v8::Context;

struct VertexShape {
  PrimitiveKind primitives;
  const char* name;
};

std::optional<VertexShape> vertexShapeKind(const Guid& guid) {
  if (guid == object_id::kTriStripSet) return VertexShape{PrimitiveKind::TriangleStrips, "tri-strip set"};
  if (guid == object_id::kPolylineSet) return VertexShape{PrimitiveKind::Polylines, "polyline set"};
  if (guid == object_id::kPolygonSet) return VertexShape{PrimitiveKind::Polygons, "polygon set"};
  if (guid == object_id::kPointSet) return VertexShape{PrimitiveKind::Points, "point set"};
  return std::nullopt;
}

Binding readBinding(ByteReader& in, const char* what) {
  const std::uint8_t stored = in.u8(what);
  if (stored > static_cast<std::uint8_t>(Binding::Primitive)) in.setFailed(what, "is not known");
  return static_cast<Binding>(stored);
}

Result<Bindings> readHeader(ByteReader& in, ShapeFacts& facts) {
  in.skip(2, "version of the shape");  // 1 in all files; another would say nothing of what follows
  in.skip(4, "binding attributes");
  in.skip(4, "quantisation of the shape");
  in.skip(2, "version of the set");
  in.skip(2, "version of the compressed representation");
  Bindings bindings;
  bindings.normal = readBinding(in, "normal binding");
  bindings.texture = readBinding(in, "texture coordinate binding");
  bindings.color = readBinding(in, "colour binding");
  for (std::uint8_t& bits : facts.quantization_bits) bits = in.u8("quantisation bits");
  if (!in.ok()) return in.unexpected();
  facts.lossless = facts.quantization_bits[0] == 0;
  facts.bindings = static_cast<std::uint64_t>(bindings.normal) |
                   static_cast<std::uint64_t>(bindings.texture) << 8 |
                   static_cast<std::uint64_t>(bindings.color) << 16;
  return bindings;
}

// Ascending numbers from 0: where each primitive begins, and the number of corners.
Result<void> readPrimitiveStarts(ByteReader& in, Context& context, std::vector<std::uint32_t>& starts) {
  const std::uint64_t offset = in.offset();
  std::vector<std::int32_t> values;
  const v8::ExpectedPacket packet{"primitive list", Predictor::Stride1, context.values_left};
  if (Result<void> read = v8::readValues(in, context, packet, values); !read) return read;
  std::int32_t before = 0;
  starts.reserve(values.size());
  for (const std::int32_t start : values) {
    if (start < before || (starts.empty() && start != 0)) {
      return fail("primitive list: primitive " + std::to_string(starts.size()) + " starts at corner " +
                      std::to_string(start) + " after " + std::to_string(before),
                  offset);
    }
    starts.push_back(static_cast<std::uint32_t>(start));
    before = start;
  }
  if (static_cast<std::size_t>(before) > std::min(context.values_left, context.most_corners)) {
    return fail("primitive list: " + std::to_string(before) + " corners are more than the element can hold",
                offset);
  }
  if (starts.size() == 1) starts.clear();
  return {};
}

Result<ShapeGeometry> decodeVertexShape(ByteReader& in, PrimitiveKind kind, const ShapeContext& asked,
                                        MemoryBudget& memory) {
  ShapeGeometry geometry;
  geometry.kind = kind;
  Context context;
  context.values_left = plausibleShapeValues(in.remaining());
  context.most_corners = plausibleShapeCorners(in.remaining());
  context.memory = &memory;
  context.extra_attributes = asked.extra_attributes;
  const Result<Bindings> bindings = readHeader(in, geometry.facts);
  if (!bindings) return passOn(bindings);
  context.bindings = *bindings;
  if (Result<void> read = readPrimitiveStarts(in, context, geometry.primitive_starts); !read) {
    return passOn(read);
  }
  const auto readData = geometry.facts.lossless ? v8::readLossless : v8::readLossy;
  if (Result<void> read = readData(in, context, geometry); !read) return passOn(read);
  // Points are usually stored without a primitive list: they are one group. So is anything else without one.
  if (geometry.primitive_starts.empty() && !geometry.corner_positions.empty()) {
    geometry.primitive_starts = {0, static_cast<std::uint32_t>(geometry.corner_positions.size())};
  }
  if (Result<void> spread = v8::spreadAttributes(context, in.offset(), geometry); !spread) {
    return passOn(spread);
  }
  return geometry;
}

}  // namespace

Result<void> v8::readValues(ByteReader& in, Context& context, const ExpectedPacket& packet,
                            std::vector<std::int32_t>& values) {
  const std::size_t limit = std::min(packet.maximum_count, context.values_left);
  if (Result<void> read = decodePacketV8(in, limit, values, context.memory); !read) {
    return tl::unexpected(read.error().in(packet.what));
  }
  context.values_left -= values.size();
  undoPredictor(packet.predictor, values);
  return {};
}

Result<ShapeGeometry> decodeShapeLodV8(ByteReader element_body, const Guid& kind,
                                       const ShapeContext& context) {
  if (kind == object_id::kNullShape) return ShapeGeometry{};
  const std::optional<VertexShape> vertex_shape = vertexShapeKind(kind);
  if (!vertex_shape) {
    return tl::unexpected<Error>(
        makeError("not supported", element_body.offset()).ofElement("shape LOD element " + kind.text()));
  }
  MemoryBudget unlimited;
  Result<ShapeGeometry> geometry = decodeVertexShape(element_body, vertex_shape->primitives, context,
                                                     context.memory != nullptr ? *context.memory : unlimited);
  if (!geometry) return tl::unexpected(geometry.error().ofElement(vertex_shape->name));
  return geometry;
}

}  // namespace jttk
