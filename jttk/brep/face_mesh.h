// Triangles of one face from its domain.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "jttk/brep/face_domain.h"
#include "jttk/brep/geometry.h"
#include "jttk/brep/tolerances.h"

namespace jttk::brep {

struct FaceMesh {
  // Three per triangle: ids of the body's points, counter-clockwise seen from outside.
  std::vector<std::uint32_t> corners;
  // Three per triangle: normals by number. Unit vectors, outward.
  std::vector<std::uint32_t> corner_normals;
  std::vector<Vec3> normals;
  Result<void> usable;  // the error says why there is no mesh; `wishes` count all the same
  // Edges whose pieces intersect in the parameter plane; finer sampling may avoid that.
  std::vector<EdgeWish> wishes;
};

using PointPairs = std::set<std::pair<std::uint32_t, std::uint32_t>>;

// `not_wanted`: pairs of points (smaller id first) that no edge inside the face may join. New points are
// added to `points`.
FaceMesh meshFace(Geometry& geometry, const FaceDomain& domain, const Tolerances& tolerances,
                  const PointPairs& not_wanted, std::vector<Vec3>& points);

}  // namespace jttk::brep
