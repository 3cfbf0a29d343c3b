// Which attribute record a corner of a JT 8.x shape has. Attributes are bound to vertices, to facets (the
// triangles of a strip, the polygon, the segments of a line) or to primitives.
#include <algorithm>
#include <span>
#include <string>
#include <utility>

#include "jttk/codec/v8/shape_data.h"

namespace jttk::v8 {

namespace {

constexpr std::size_t kNormalFloats = 3;
constexpr std::size_t kTextureFloats = 3;
constexpr std::size_t kColorFloats = 4;

// The value that belongs to the binding; `vertices` for None.
std::size_t bound(Binding binding, std::size_t vertices, std::size_t facets, std::size_t primitives) {
  if (binding == Binding::Facet) return facets;
  return binding == Binding::Primitive ? primitives : vertices;
}

// Where a corner of the spread shape comes from.
struct Origin {
  std::uint32_t position = 0;
  std::uint32_t facet = 0;
  std::uint32_t primitive = 0;

  [[nodiscard]] std::size_t owner(Binding binding) const {
    return bound(binding, position, facet, primitive);
  }
};

struct Owners {
  std::size_t vertices = 0;
  std::size_t facets = 0;
  std::size_t primitives = 0;

  [[nodiscard]] std::size_t count(Binding binding) const {
    return bound(binding, vertices, facets, primitives);
  }
};

// Corners of one facet; strips and lines have several facets per primitive, which overlap.
std::size_t facetCorners(PrimitiveKind kind) {
  if (kind == PrimitiveKind::TriangleStrips) return 3;
  return kind == PrimitiveKind::Polylines ? 2 : 0;  // 0: the primitive is the facet
}

Owners countOwners(const ShapeGeometry& geometry) {
  Owners owners;
  owners.vertices = geometry.positions.size() / 3;
  owners.primitives = geometry.primitiveCount();
  const std::size_t facet_corners = facetCorners(geometry.kind);
  for (std::size_t i = 0; i < owners.primitives; ++i) {
    const std::size_t corners = geometry.primitive_starts[i + 1] - geometry.primitive_starts[i];
    if (facet_corners == 0) {
      ++owners.facets;
    } else if (corners >= facet_corners) {
      owners.facets += corners - facet_corners + 1;
    }
  }
  return owners;
}

// One primitive per facet, as facets have attributes of their own.
std::vector<Origin> takeApart(ShapeGeometry& geometry) {
  const auto facet_corners = static_cast<std::uint32_t>(facetCorners(geometry.kind));
  std::vector<Origin> origins;
  std::vector<std::uint32_t> starts = {0};
  std::uint32_t facet = 0;
  for (std::uint32_t primitive = 0; primitive < geometry.primitiveCount(); ++primitive) {
    const std::uint32_t first = geometry.primitive_starts[primitive];
    const std::uint32_t end = geometry.primitive_starts[primitive + 1];
    for (std::uint32_t corner = first; corner + facet_corners <= end; ++corner, ++facet) {
      for (std::uint32_t i = 0; i < facet_corners; ++i) {
        origins.push_back({geometry.corner_positions[corner + i], facet, primitive});
      }
      // Every other triangle of a strip has the opposite winding.
      if (facet_corners == 3 && (corner - first) % 2 != 0)
        std::swap(*(origins.end() - 3), *(origins.end() - 2));
      starts.push_back(static_cast<std::uint32_t>(origins.size()));
    }
  }
  if (starts.size() == 1) starts.clear();
  geometry.primitive_starts = std::move(starts);
  return origins;
}

std::vector<Origin> keepWhole(const ShapeGeometry& geometry) {
  std::vector<Origin> origins;
  origins.reserve(geometry.corner_positions.size());
  for (std::uint32_t primitive = 0; primitive < geometry.primitiveCount(); ++primitive) {
    for (std::uint32_t i = geometry.primitive_starts[primitive]; i < geometry.primitive_starts[primitive + 1];
         ++i) {
      origins.push_back({geometry.corner_positions[i], primitive, primitive});
    }
  }
  return origins;
}

void spread(std::span<const Origin> origins, Binding binding, std::size_t stride,
            std::vector<float>& records) {
  if (binding == Binding::None || records.empty()) return;
  std::vector<float> result(origins.size() * stride);
  for (std::size_t corner = 0; corner < origins.size(); ++corner) {
    const float* from = records.data() + origins[corner].owner(binding) * stride;
    std::copy_n(from, stride, result.data() + corner * stride);
  }
  records = std::move(result);
}

// Takes the memory for the corners' records. Where each corner gets a record of its own, strips are taken
// apart, which makes up to three corners of one.
Result<void> takeMemory(const Context& context, const ShapeGeometry& geometry, bool per_vertex_only,
                        std::uint64_t offset) {
  constexpr std::size_t kOfOwnRecords =
      3 * (sizeof(Origin) + 3 * sizeof(std::uint32_t) + kColorFloats * 3 * sizeof(float));
  return context.memory->take(geometry.corner_positions.size(),
                              per_vertex_only ? sizeof(std::uint32_t) : kOfOwnRecords, offset);
}

}  // namespace

Result<void> spreadAttributes(const Context& context, std::uint64_t offset, ShapeGeometry& geometry) {
  const Bindings& bindings = context.bindings;
  const Owners owners = countOwners(geometry);
  struct Attribute {
    const char* name;
    Binding binding;
    std::size_t stride;
    std::vector<float>& records;
    bool is_decoded = true;
  };
  Attribute attributes[] = {{"normals", bindings.normal, kNormalFloats, geometry.normals},
                            {"texture coordinates", bindings.texture, kTextureFloats,
                             geometry.texture_coordinates, context.extra_attributes},
                            {"colours", bindings.color, kColorFloats, geometry.colors}};
  bool has_records = false;
  bool per_facet = false;
  bool per_vertex_only = true;
  for (Attribute& attribute : attributes) {
    const std::size_t found =
        attribute.is_decoded ? attribute.records.size() / attribute.stride : context.undecoded_textures;
    const std::size_t needed = owners.count(attribute.binding);
    if (attribute.binding != Binding::None && found != needed) {
      if (attribute.is_decoded) {
        geometry.facts.unread_attributes = std::string(attribute.name) + ": " + std::to_string(found) +
                                           " where " + std::to_string(needed) + " are needed";
      }
      attribute.binding = Binding::None;
      attribute.records = {};
    }
    has_records = has_records || (attribute.is_decoded && attribute.binding != Binding::None);
    per_facet = per_facet || attribute.binding == Binding::Facet;
    per_vertex_only =
        per_vertex_only && (attribute.binding == Binding::None || attribute.binding == Binding::Vertex);
  }
  if (!has_records && per_vertex_only) return {};
  if (auto taken = takeMemory(context, geometry, per_vertex_only, offset); !taken) return taken;
  if (per_vertex_only) {
    geometry.corner_records = geometry.corner_positions;
    return {};
  }
  const bool apart = per_facet && facetCorners(geometry.kind) != 0;
  const std::vector<Origin> origins = apart ? takeApart(geometry) : keepWhole(geometry);
  for (const Attribute& attribute : attributes)
    spread(origins, attribute.binding, attribute.stride, attribute.records);
  geometry.corner_positions.clear();
  geometry.corner_records.clear();
  for (const Origin& origin : origins) {
    if (has_records) {
      geometry.corner_records.push_back(static_cast<std::uint32_t>(geometry.corner_records.size()));
    }
    geometry.corner_positions.push_back(origin.position);
  }
  return {};
}

}  // namespace jttk::v8
