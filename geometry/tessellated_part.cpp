// Writes a shape that the toolkit has tessellated on load: triangle strips only, no merging, and a winding of
// its own (the reverse of that in strips.h). Its lines bear the name of the ordinary shape writer.
#include <cstdint>
#include <memory>
#include <vector>

#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "geometry/material.h"
#include "geometry/mesh.h"
#include "geometry/shape_arrays.h"
#include "geometry/shape_writers.h"

namespace loftbay::geometry {

using diag::Counted;
using diag::text;
using diag::WriteTraceLog;

namespace {

constexpr std::string_view kTessellationPrefix = "obJt2Zix::WriteShape()";

struct Strip {
  std::unique_ptr<float[]> vertices;
  int count = 0;

  Strip(JtkShape& shape, int set) {
    float* v = nullptr;
    float* n = nullptr;
    int normal_count = 0;
    shape.getPrimitiveSetGeometry(set, v, count, n, normal_count);
    vertices.reset(v);
    const std::unique_ptr<float[]> unused(n);
    if (v == nullptr || count < 0) count = 0;
  }
};

}  // namespace

WrittenShape writeTessellation(const ShapeTarget& target, JtkShape& shape, const char* name) {
  const int primitive_sets = shape.getPrimitiveSetCount();
  std::int64_t vertex_count = 0;
  std::int64_t triangle_count = 0;
  for (int set = 0; set < primitive_sets; ++set) {
    const int count = Strip(shape, set).count;
    vertex_count += count;
    triangle_count += count - 2;
  }
  std::vector<float> floats;
  std::vector<std::uint32_t> indices;
  floats.reserve(static_cast<std::size_t>(vertex_count) * 3);
  if (triangle_count > 0) indices.reserve(static_cast<std::size_t>(triangle_count) * kTriangleCorners);

  std::uint32_t vertex = 0;
  for (int set = 0; set < primitive_sets; ++set) {
    const Strip strip(shape, set);
    floats.insert(floats.end(), strip.vertices.get(), strip.vertices.get() + std::ptrdiff_t{3} * strip.count);
    for (int t = 0; t < strip.count - 2; ++t) {
      const std::uint32_t a = vertex + static_cast<std::uint32_t>(t);
      const std::uint32_t odd = t % 2 == 0 ? 0 : 1;
      indices.insert(indices.end(), {a + 1 - odd, a + odd, a + 2});
    }
    vertex += static_cast<std::uint32_t>(strip.count);
  }
  const std::vector<std::uint32_t> lengths(triangle_count > 0 ? static_cast<std::size_t>(triangle_count) : 0,
                                           kTriangleCorners);

  diag::Observer& observer = *diag::programSeams().observer;
  observer.counted(Counted::VerticesRead, floats.size() / 3);
  observer.counted(Counted::Triangles, indices.size() / kTriangleCorners);
  const auto mesh = writeMesh(target, kTessellationPrefix, name,
                              {.type = Orb::Zix::MeshType::Triangles,
                               .coordinates = floats.data(),
                               .point_count = floats.size() / 3,
                               .indices = indices,
                               .lengths = lengths});
  writeMaterial(target.scene, target.material, mesh);
  WriteTraceLog(text(kTessellationPrefix, ":ZIX material is set"));
  WriteTraceLog(text(kTessellationPrefix, ":End"));
  return {.has_mesh = true};
}

}  // namespace loftbay::geometry
