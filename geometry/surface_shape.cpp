// The entry for one tessellated shape: sends point sets and polylines to their writers, and writes triangle
// strips itself. Only coordinates and connectivity reach the scene; normals and colours are counted.
#include <algorithm>
#include <cstdint>

#include "convert/job.h"
#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "geometry/shape_arrays.h"
#include "geometry/strips.h"

namespace loftbay::convert {

using diag::Counted;
using diag::text;
using diag::WriteTraceLog;

namespace {

constexpr std::string_view kSurfacePrefix = "obJt2Zix::WriteShape()";

enum class ShapeKind { Surface, Points, Lines };

ShapeKind kindOf(JtkShape& shape) {
  const auto is = [&shape](JtkEntity::TypeID type) { return shape.isOfType(type) == 1; };
  if (is(JtkEntity::JtkTRISTRIPSET)) return ShapeKind::Surface;
  if (is(JtkEntity::JtkPOINTSET)) return ShapeKind::Points;
  if (is(JtkEntity::JtkSHAPE) || is(JtkEntity::JtkNULLSHAPE) || is(JtkEntity::JtkPRIMITIVESET))
    return ShapeKind::Surface;
  if (is(JtkEntity::JtkLINESTRIPSET)) return ShapeKind::Lines;
  return ShapeKind::Surface;  // polygons, primitives, and whatever else there is
}

// Entries: vertices less 2 per set, none if that is negative. That is not the number of triangles made if
// strips have fewer than two vertices.
std::vector<std::uint32_t> triangleLengths(std::size_t coordinates, int primitive_sets) {
  const auto triangles = static_cast<std::int32_t>(static_cast<std::uint32_t>(coordinates) -
                                                   2U * static_cast<std::uint32_t>(primitive_sets));
  return std::vector<std::uint32_t>(triangles < 1 ? 0 : static_cast<std::size_t>(triangles),
                                    geometry::kTriangleCorners);
}

}  // namespace

void obJt2Zix::WriteShape(JtkShape* shape, const char* shape_name) {
  WriteTraceLog(text(kSurfacePrefix, ":Start"));
  const int primitive_sets = shape->getPrimitiveSetCount();
  switch (kindOf(*shape)) {
    case ShapeKind::Surface:
      writeSurface(shape, shape_name, primitive_sets);
      break;
    case ShapeKind::Points:
      if (ignorePoints) {
        notes.add(Dropped::PointShape, shape_name, primitive_sets);
      } else {
        WritePointElements(shape, shape_name);
      }
      break;
    case ShapeKind::Lines:
      if (ignoreLines) {
        notes.add(Dropped::LineShape, shape_name, primitive_sets);
      } else {
        Write2DElements(shape, shape_name);
      }
      break;
  }
}

void obJt2Zix::writeSurface(JtkShape* shape, const char* shape_name, int primitive_sets) {
  if (!beginShape(kSurfacePrefix, shape_name, primitive_sets)) return;
  auto arrays = geometry::readShape(*shape, {.count_normals = !optimize, .keep_colors = optimize});
  diag::Observer& observer = *diag::programSeams().observer;
  observer.counted(Counted::VerticesRead, arrays.coordinates.size());
  WriteTraceLog(text(kSurfacePrefix, ":Extracting Coord,Normal,Color is done"));

  // Lengths may be fewer than the sets (empty ones are not recorded): then the strips end early.
  const std::size_t strips = std::min(arrays.set_lengths.size(), static_cast<std::size_t>(primitive_sets));
  auto indices = geometry::trianglesOfStrips({arrays.set_lengths.data(), strips});
  WriteTraceLog(text(kSurfacePrefix, ":connectivity is done"));
  const auto lengths = triangleLengths(arrays.coordinates.size(), primitive_sets);
  WriteTraceLog(text(kSurfacePrefix, ":Polylength is done"));
  observer.counted(Counted::Triangles, indices.size() / geometry::kTriangleCorners);

  const auto wholeTriangles = [&] { return geometry::trianglesOfThreePoints(arrays.coordinates, indices); };
  const std::size_t whole_before = optimize ? wholeTriangles() : 0;
  mergeVertices(kSurfacePrefix, arrays, indices);
  const std::size_t lost = optimize ? whole_before - wholeTriangles() : 0;
  if (lost != 0) notes.add(Dropped::FlattenedTriangles, shape_name, static_cast<std::int64_t>(lost));
  const MeshArrays contents = meshArrays(Orb::Zix::MeshType::Triangles, arrays.coordinates, indices, lengths);
  endShape(kSurfacePrefix, shape, writeMesh(kSurfacePrefix, shape_name, contents));
}

}  // namespace loftbay::convert
