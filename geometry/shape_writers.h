// Writes shapes of the toolkit into a scene: each becomes a Shape object with one Mesh, its coordinates, its
// connectivity and its material. Only coordinates and connectivity reach the scene; normals and colours are
// counted for the log.
//
//   const ShapeTarget target{.scene = scene, .parent = &parent, .uniqueName = names, .merge_vertices = true};
//   switch (kindOf(shape)) {
//     case ShapeKind::Surface: writeSurface(target, shape, "plate", shape.getPrimitiveSetCount()); …
//
// Log lines begin with the name of the job's method for the kind of shape, because logs are compared line by
// line. Exceptions of the scene pass through.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "jttk/interface/jttk.h"
#include "zix/zix.h"

namespace loftbay::geometry {

class PreparedShapes;

// Where shapes go, and what is in force there.
struct ShapeTarget {
  Orb::Zix::Scene_V1& scene;
  // The object to which shapes are attached. Null where there is none: then a shape that gets as far as its
  // objects ends in std::out_of_range.
  const Orb::Zix::ObjectId* parent = nullptr;
  // Worn by shapes without a material of their own. May be null.
  JtkMaterial* material = nullptr;
  // The scene's name for an object of this name. Never empty.
  std::function<std::string(const char*)> uniqueName;
  // Vertices of surfaces and polylines that print alike become one.
  bool merge_vertices = false;
  // Surfaces and polylines that were written before. May be null.
  PreparedShapes* prepared = nullptr;
};

struct WrittenShape {
  bool has_mesh = false;
  // Triangles with three different corners before the merging of vertices, and fewer after it.
  std::size_t flattened_triangles = 0;
};

enum class ShapeKind { Surface, Points, Lines };

// Whatever is no point set and no polyline set is a surface.
ShapeKind kindOf(const JtkShape& shape);

// `name` is the base of the scene's name. A shape without primitive sets is logged, and nothing is written.
// Of a surface the caller has logged the start and counted the sets, before it asked for the kind.
WrittenShape writeSurface(const ShapeTarget& target, JtkShape& shape, const char* name, int primitive_sets);
WrittenShape writePolylines(const ShapeTarget& target, JtkShape& shape, const char* name);
// Points that coincide all stay.
WrittenShape writePoints(const ShapeTarget& target, JtkShape& shape, const char* name);
// A shape that was tessellated on load: triangle strips only, wound the other way round, no merging, always
// with a mesh and a material (the one of the target, otherwise the built-in one).
WrittenShape writeTessellation(const ShapeTarget& target, JtkShape& shape, const char* name);

}  // namespace loftbay::geometry
