// Scale and stretch of a face's parameter plane.
#pragma once

#include <vector>

#include "jttk/brep/face_domain.h"
#include "jttk/brep/geometry.h"
#include "jttk/brep/tolerances.h"
#include "jttk/brep/unwrap.h"

namespace jttk::brep {

// Sets `scale` and `stretch` of the domain, whose surface is set; the domain is not usable where the surface
// is not finite. `box`: the surface's own domain. `loops`: the face's.
void measureDomain(Geometry& geometry, const SurfaceDomain& box, const std::vector<Unwrapped>& loops,
                   const Tolerances& tolerances, FaceDomain& domain);

}  // namespace jttk::brep
