#include "jttk/mesh/shape_arrays.h"

#include <cmath>
#include <cstdint>

#include "host/portable_math.h"
#include "jttk/mesh/concave.h"
#include "jttk/mesh/strips.h"
#include "jttk/mesh/winding.h"

namespace jttk {

namespace {

constexpr double kLengthTolerance = 1e-3;  // of a squared length: below, a normal counts as one of length 1

template <typename T>
std::size_t bytes(const std::vector<T>& values) {
  return values.capacity() * sizeof(T);
}

void normalise(std::vector<float>& normals) {
  for (std::size_t i = 0; i + 2 < normals.size(); i += 3) {
    const double x = normals[i];
    const double y = normals[i + 1];
    const double z = normals[i + 2];
    const double squared = x * x + y * y + z * z;
    if (std::abs(squared - 1.0) < kLengthTolerance || squared == 0.0 || !std::isfinite(squared)) continue;
    const double scale = 1.0 / std::sqrt(squared);
    normals[i] = static_cast<float>(x * scale);
    normals[i + 1] = static_cast<float>(y * scale);
    normals[i + 2] = static_cast<float>(z * scale);
  }
}

// Leaves out primitives with fewer corners than `least`; the order of the others stays.
void dropShort(ShapeGeometry& geometry, std::uint32_t least) {
  auto& starts = geometry.primitive_starts;
  bool any = false;
  for (std::size_t i = 0; i + 1 < starts.size() && !any; ++i) any = starts[i + 1] - starts[i] < least;
  if (!any) return;
  Primitives kept;
  kept.starts.push_back(0);
  for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
    if (starts[i + 1] - starts[i] < least) continue;
    for (std::uint32_t c = starts[i]; c < starts[i + 1]; ++c) {
      kept.positions.push_back(geometry.corner_positions[c]);
      if (!geometry.corner_records.empty()) kept.records.push_back(geometry.corner_records[c]);
    }
    kept.starts.push_back(static_cast<std::uint32_t>(kept.positions.size()));
  }
  starts = std::move(kept.starts);
  geometry.corner_positions = std::move(kept.positions);
  geometry.corner_records = std::move(kept.records);
}

}  // namespace

std::size_t ShapeArrays::sizeBytes() const {
  const ShapeGeometry& g = geometry;
  return sizeof(*this) + bytes(g.positions) + bytes(g.normals) + bytes(g.colors) +
         bytes(g.texture_coordinates) + bytes(g.vertex_flags) + bytes(g.primitive_starts) +
         bytes(g.corner_positions) + bytes(g.corner_records);
}

ShapeArrays makeShapeArrays(ShapeGeometry geometry) {
  ShapeArrays arrays;
  normalise(geometry.normals);
  if (geometry.kind == PrimitiveKind::Polygons) {
    splitConcavePolygons(geometry);
    Primitives strips =
        geometry.neighbours.empty()
            ? stripsOfPolygons(geometry.primitive_starts, geometry.corner_positions, geometry.corner_records)
            : stripsOfTriangles(geometry.neighbours, geometry.corner_positions, geometry.corner_records);
    geometry.neighbours = {};
    geometry.primitive_starts = std::move(strips.starts);
    geometry.corner_positions = std::move(strips.positions);
    geometry.corner_records = std::move(strips.records);
    geometry.kind = PrimitiveKind::TriangleStrips;
  } else {
    dropShort(geometry, geometry.kind == PrimitiveKind::TriangleStrips ? 3 : 1);
  }
  geometry.vertex_flags = {};  // they are not used
  arrays.geometry = std::move(geometry);
  return arrays;
}

ShapeArrays transformed(const ShapeArrays& arrays, const Matrix& m) {
  ShapeArrays result = arrays;
  std::vector<float>& positions = result.geometry.positions;
  for (std::size_t i = 0; i + 2 < positions.size(); i += 3) {
    const double x = positions[i];
    const double y = positions[i + 1];
    const double z = positions[i + 2];
    for (std::size_t k = 0; k < 3; ++k) {
      positions[i + k] = static_cast<float>(x * m[k] + y * m[4 + k] + z * m[8 + k] + m[12 + k]);
    }
  }
  const bool mirrors = determinant3(m) < 0;
  const std::array<double, 9> c = cofactors3(m);
  const double sign = mirrors ? -1.0 : 1.0;
  std::vector<float>& normals = result.geometry.normals;
  for (std::size_t i = 0; i + 2 < normals.size(); i += 3) {
    const double x = normals[i];
    const double y = normals[i + 1];
    const double z = normals[i + 2];
    double turned[3];
    for (std::size_t k = 0; k < 3; ++k) turned[k] = sign * (x * c[k] + y * c[3 + k] + z * c[6 + k]);
    const double length = loftbay::portable::hypot(turned[0], turned[1], turned[2]);
    const double scale = length > 0 && std::isfinite(length) ? 1.0 / length : 0.0;
    for (std::size_t k = 0; k < 3; ++k) normals[i + k] = static_cast<float>(turned[k] * scale);
  }
  if (mirrors && result.geometry.kind == PrimitiveKind::TriangleStrips) turnOver(result.geometry);
  return result;
}

}  // namespace jttk
