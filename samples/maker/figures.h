// What nodes state about their geometry: box, area, counts.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "samples/maker/byte_writer.h"
#include "samples/maker/product.h"

namespace loftbay::maker {

struct Figures {
  bool empty = true;  // no box yet
  Vec3 min;
  Vec3 max;
  double area = 0;
  std::uint64_t vertices = 0;
  std::uint64_t nodes = 0;
  std::uint64_t polygons = 0;

  void include(const Vec3& point);
  void add(const Figures& other);
  // As placed by `matrix`: the box boxed again, the area scaled.
  [[nodiscard]] Figures placed(const Matrix& matrix) const;
};

// What the scene graph needs of a shape once its segment is written.
struct ShapeRecord {
  ShapeKind kind = ShapeKind::Triangles;
  std::uint64_t bindings = 0;
  bool has_normals = false;
  bool has_colors = false;
  bool has_texture = false;
  Figures figures;
  std::optional<Material> material;
  GuidValue segment;
  std::uint32_t segment_type = 0;
  std::int32_t object_id = 0;
};

// Per part: its levels, finest first.
struct PartRecord {
  std::vector<std::vector<ShapeRecord>> lods;
  Figures figures;                 // of the finest level, and the box of the exact geometry
  std::optional<GuidValue> exact;  // its segment
};

}  // namespace loftbay::maker
