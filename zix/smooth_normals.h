// Which corners of a mesh's triangles look as one, and the direction that the surface has there: for pictures
// and for exports that store normals.
//
// Two triangles that meet at an edge join there when their directions differ by less than 40 degrees; at a
// point, those that join one another make one vertex. Its normal is the mean of the flat regions around it,
// each with the weight of its whole area: a large flat face stays flat beside a narrow bevel, and the bevel
// bends.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "zix/scene_meshes.h"

namespace Orb::Zix {

struct SmoothMesh {
  struct Vertex {
    std::uint32_t point;          // of the mesh
    std::array<float, 3> normal;  // of length 1
  };
  std::vector<std::uint32_t> corners;  // three numbers of vertices per triangle, in file order
  std::vector<Vertex> vertices;        // in the order in which the triangles use them first
};

// The whole triangles of a mesh of triangles whose points are finite. Points at the same position count as
// one. The corner of a triangle without area takes the normal of what is around it, or (0, 0, 1).
SmoothMesh smoothMesh(const MeshArrays& mesh);

}  // namespace Orb::Zix
