#include "jttk/model/shape_arrays.h"

#include <cmath>
#include <cstdint>

#include "host/portable_math.h"
#include "jttk/model/concave.h"
#include "jttk/model/strips.h"

namespace jttk {

namespace {

constexpr double kLengthTolerance = 1e-3;  // of a squared length: below, a normal counts as one of length 1

template <typename T>
std::size_t bytes(const std::vector<T>& values) {
  return values.capacity() * sizeof(T);
}

// A set of solids of one type is a set of that type.
JtkEntity::TypeID typeOfSolids(std::uint32_t solid_types) {
  switch (solid_types) {
    case 1U << 0U:
      return JtkEntity::JtkBOXSET;
    case 1U << 1U:
      return JtkEntity::JtkCYLINDERSET;
    case 1U << 2U:
      return JtkEntity::JtkPYRAMIDSET;
    case 1U << 3U:
      return JtkEntity::JtkSPHERESET;
    case 1U << 4U:
      return JtkEntity::JtkTRIPRISMSET;
    default:
      return JtkEntity::JtkPRIMITIVESET;
  }
}

JtkEntity::TypeID typeOf(const ShapeGeometry& geometry, NodeKind node) {
  switch (geometry.kind) {
    case PrimitiveKind::Polylines:
      return JtkEntity::JtkLINESTRIPSET;
    case PrimitiveKind::Points:
      return JtkEntity::JtkPOINTSET;
    case PrimitiveKind::Empty:
      return JtkEntity::JtkNULLSHAPE;
    case PrimitiveKind::TriangleStrips:
    case PrimitiveKind::Polygons:
      break;
  }
  if (geometry.facts.solid_types != 0) return typeOfSolids(geometry.facts.solid_types);
  if (node == NodeKind::PolygonSet) return JtkEntity::JtkPOLYGONSET;
  if (node == NodeKind::PrimitiveSet) return JtkEntity::JtkPRIMITIVESET;
  return JtkEntity::JtkTRISTRIPSET;
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

// Strips with the opposite winding. A strip with an odd number of corners is read backwards. Read backwards,
// one with an even number would keep its winding: there the first triangle becomes a strip of its own with
// two corners changed, and the rest, which starts one corner later, is turned over as it stands.
void turnOver(ShapeGeometry& geometry) {
  Primitives turned;
  turned.starts.push_back(0);
  const bool has_records = !geometry.corner_records.empty();
  const auto add = [&](std::uint32_t corner) {
    turned.positions.push_back(geometry.corner_positions[corner]);
    if (has_records) turned.records.push_back(geometry.corner_records[corner]);
  };
  const auto finish = [&] { turned.starts.push_back(static_cast<std::uint32_t>(turned.positions.size())); };
  const auto& starts = geometry.primitive_starts;
  for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
    const std::uint32_t first = starts[i];
    const std::uint32_t size = starts[i + 1] - first;
    if (size % 2 != 0) {
      for (std::uint32_t k = size; k-- > 0;) add(first + k);
    } else {
      add(first);
      add(first + 2);
      add(first + 1);
      finish();
      for (std::uint32_t k = 1; k < size; ++k) add(first + k);
    }
    finish();
  }
  geometry.primitive_starts = std::move(turned.starts);
  geometry.corner_positions = std::move(turned.positions);
  geometry.corner_records = std::move(turned.records);
}

}  // namespace

std::size_t ShapeArrays::sizeBytes() const {
  const ShapeGeometry& g = geometry;
  return sizeof(*this) + bytes(g.positions) + bytes(g.normals) + bytes(g.colors) +
         bytes(g.texture_coordinates) + bytes(g.vertex_flags) + bytes(g.primitive_starts) +
         bytes(g.corner_positions) + bytes(g.corner_records);
}

ShapeArrays makeShapeArrays(ShapeGeometry geometry, NodeKind kind) {
  ShapeArrays arrays;
  arrays.type = typeOf(geometry, kind);
  normalise(geometry.normals);
  if (geometry.kind == PrimitiveKind::Polygons) {
    splitConcavePolygons(geometry);
    Primitives strips =
        stripsOfPolygons(geometry.primitive_starts, geometry.corner_positions, geometry.corner_records);
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
