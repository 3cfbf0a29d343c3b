// What all shape writers share: the objects of one shape in the scene, its material, and the lines that frame
// a shape in the log. `prefix` is the name with which these lines begin.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "geometry/prepared_shapes.h"
#include "geometry/shape_arrays.h"
#include "geometry/shape_writers.h"
#include "zix/zix.h"

namespace loftbay::geometry {

// What goes into a mesh of the scene, kept by the caller.
struct MeshContents {
  Orb::Zix::MeshType type;
  const float* coordinates;  // three per point
  std::size_t point_count;
  std::span<const std::uint32_t> indices;
  std::span<const std::uint32_t> lengths;  // one per element: how many indices it takes
};

// Views of the points, indices and lengths.
MeshContents meshContents(Orb::Zix::MeshType type, std::span<const Point> points,
                          std::span<const std::uint32_t> indices, std::span<const std::uint32_t> lengths);

// Logs a shape's name, its number of sets and the memory in use. False if there are no sets.
bool beginShape(std::string_view prefix, const char* name, int primitive_sets);

// The lines of a shape whose vertices are merged: before that, and after it with the sizes.
void logMergeStart(std::string_view prefix);
void logMerge(std::string_view prefix, const PreparedShape& shape);
// The lines of a shape whose vertices stay as they are.
void logSizes(std::string_view prefix, const PreparedShape& shape);

// Makes Shape, Mesh and its arrays; the result is the Mesh.
Orb::Zix::ObjectId writeMesh(const ShapeTarget& target, std::string_view prefix, const char* name,
                             const MeshContents& contents);

// Gives the mesh its material: the shape's own, otherwise the target's, otherwise none.
void endShape(const ShapeTarget& target, std::string_view prefix, JtkShape& shape,
              const Orb::Zix::ObjectId& mesh);

}  // namespace loftbay::geometry
