// Tells surfaces from points and lines, and writes a surface's triangle strips as a triangle mesh.
#include <algorithm>
#include <cstdint>

#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "geometry/duplicate_vertices.h"
#include "geometry/mesh.h"
#include "geometry/shape_arrays.h"
#include "geometry/shape_writers.h"
#include "geometry/strips.h"

namespace loftbay::geometry {

using diag::Counted;
using diag::text;
using diag::WriteTraceLog;

namespace {

constexpr std::string_view kSurfacePrefix = "obJt2Zix::WriteShape()";

// Entries: vertices less 2 per set, none if that is negative. That is not the number of triangles made if
// strips have fewer than two vertices.
std::vector<std::uint32_t> triangleLengths(std::size_t coordinates, int primitive_sets) {
  const auto triangles = static_cast<std::int32_t>(static_cast<std::uint32_t>(coordinates) -
                                                   2U * static_cast<std::uint32_t>(primitive_sets));
  return std::vector<std::uint32_t>(triangles < 1 ? 0 : static_cast<std::size_t>(triangles),
                                    kTriangleCorners);
}

}  // namespace

ShapeKind kindOf(const JtkShape& shape) {
  const auto is = [&shape](JtkEntity::TypeID type) { return shape.isOfType(type) == 1; };
  if (is(JtkEntity::JtkTRISTRIPSET)) return ShapeKind::Surface;
  if (is(JtkEntity::JtkPOINTSET)) return ShapeKind::Points;
  if (is(JtkEntity::JtkSHAPE) || is(JtkEntity::JtkNULLSHAPE) || is(JtkEntity::JtkPRIMITIVESET))
    return ShapeKind::Surface;
  if (is(JtkEntity::JtkLINESTRIPSET)) return ShapeKind::Lines;
  return ShapeKind::Surface;  // polygons, primitives, and whatever else there is
}

WrittenShape writeSurface(const ShapeTarget& target, JtkShape& shape, const char* name, int primitive_sets) {
  if (!beginShape(kSurfacePrefix, name, primitive_sets)) return {};
  const bool merge = target.merge_vertices;
  auto arrays = readShape(shape, {.count_normals = !merge, .keep_colors = merge});
  diag::Observer& observer = *diag::programSeams().observer;
  observer.counted(Counted::VerticesRead, arrays.coordinates.size());
  WriteTraceLog(text(kSurfacePrefix, ":Extracting Coord,Normal,Color is done"));

  // Lengths may be fewer than the sets (empty ones are not recorded): then the strips end early.
  const std::size_t strips = std::min(arrays.set_lengths.size(), static_cast<std::size_t>(primitive_sets));
  auto indices = trianglesOfStrips({arrays.set_lengths.data(), strips});
  WriteTraceLog(text(kSurfacePrefix, ":connectivity is done"));
  const auto lengths = triangleLengths(arrays.coordinates.size(), primitive_sets);
  WriteTraceLog(text(kSurfacePrefix, ":Polylength is done"));
  observer.counted(Counted::Triangles, indices.size() / kTriangleCorners);

  WrittenShape result;
  if (merge) {
    const std::size_t whole_before = trianglesOfThreePoints(arrays.coordinates, indices);
    mergeVertices(kSurfacePrefix, arrays, indices);
    result.flattened_triangles = whole_before - trianglesOfThreePoints(arrays.coordinates, indices);
  } else {
    logSizes(kSurfacePrefix, arrays);
  }
  const MeshContents contents =
      meshContents(Orb::Zix::MeshType::Triangles, arrays.coordinates, indices, lengths);
  endShape(target, kSurfacePrefix, shape, writeMesh(target, kSurfacePrefix, name, contents));
  result.has_mesh = true;
  return result;
}

}  // namespace loftbay::geometry
