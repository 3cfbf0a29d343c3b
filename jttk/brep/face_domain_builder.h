// From the loops of a face to its domain.
#pragma once

#include <vector>

#include "jttk/brep/face_domain.h"
#include "jttk/brep/geometry.h"
#include "jttk/brep/tolerances.h"

namespace jttk::brep {

// `points` are the body's mesh points by id; those of seams and poles are added.
FaceDomain makeFaceDomain(Geometry& geometry, const Face& face,
                          const std::vector<std::vector<LoopPoint>>& loops, const Tolerances& tolerances,
                          std::vector<Vec3>& points);

}  // namespace jttk::brep
