// Writes one set of polylines as a line mesh.
#include <algorithm>
#include <cstdint>
#include <numeric>
#include <utility>

#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "geometry/mesh.h"
#include "geometry/prepared_shapes.h"
#include "geometry/shape_arrays.h"
#include "geometry/shape_writers.h"

namespace loftbay::geometry {

using diag::Counted;
using diag::text;
using diag::WriteTraceLog;

namespace {

constexpr std::string_view kLinePrefix = "obJt2Zix::Write2DElements()";

// One entry per set; empty sets left no length, so the last entries stay 0.
std::vector<std::uint32_t> polylineLengths(const std::vector<std::int32_t>& set_lengths, int primitive_sets) {
  std::vector<std::uint32_t> lengths(static_cast<std::size_t>(primitive_sets));
  std::transform(
      set_lengths.begin(),
      set_lengths.begin() + static_cast<std::ptrdiff_t>(std::min(set_lengths.size(), lengths.size())),
      lengths.begin(), [](std::int32_t length) { return static_cast<std::uint32_t>(length); });
  return lengths;
}

}  // namespace

WrittenShape writePolylines(const ShapeTarget& target, JtkShape& shape, const char* name) {
  WriteTraceLog(text(kLinePrefix, ":Start"));
  const int primitive_sets = shape.getPrimitiveSetCount();
  if (!beginShape(kLinePrefix, name, primitive_sets)) return {};
  const PreparedShapes::Manner manner{ShapeKind::Lines, target.merge_vertices};
  // The stages of a shape that was written before are only told.
  const auto known = target.prepared != nullptr ? target.prepared->find(shape, manner) : nullptr;
  PreparedShape made;
  const PreparedShape& prepared = known != nullptr ? *known : made;
  std::vector<std::int32_t> set_lengths;
  if (known == nullptr) {
    auto arrays = readShape(shape, {});
    made.take(arrays);
    set_lengths = std::move(arrays.set_lengths);
  }
  diag::Observer& observer = *diag::programSeams().observer;
  observer.counted(Counted::VerticesRead, prepared.vertices_read);
  WriteTraceLog(text(kLinePrefix, ":Extracting Coord,Normal,Color is done"));

  if (known == nullptr && !target.merge_vertices) {
    made.indices.resize(made.vertices_read);
    std::iota(made.indices.begin(), made.indices.end(), 0U);
  }
  WriteTraceLog(text(kLinePrefix, ":connectivity is done"));
  if (known == nullptr) made.lengths = polylineLengths(set_lengths, primitive_sets);
  WriteTraceLog(text(kLinePrefix, ":Polylength is done"));
  observer.counted(Counted::Lines, prepared.lengths.size());

  if (target.merge_vertices) {
    logMergeStart(kLinePrefix);
    // A polyline takes its vertices in their order, so their new names are its indices.
    if (known == nullptr) made.indices = std::move(made.merge().vertex_of);
    logMerge(kLinePrefix, prepared);
  } else {
    logSizes(kLinePrefix, prepared);
  }
  const MeshContents contents =
      meshContents(Orb::Zix::MeshType::Lines, prepared.coordinates, prepared.indices, prepared.lengths);
  endShape(target, kLinePrefix, shape, writeMesh(target, kLinePrefix, name, contents));
  if (known == nullptr && target.prepared != nullptr) target.prepared->keep(shape, manner, std::move(made));
  return {.has_mesh = true};
}

}  // namespace loftbay::geometry
