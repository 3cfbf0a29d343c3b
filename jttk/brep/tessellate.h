// Triangles of the exact geometry of JT parts.
//
// Usage: readXtBrep on the part's segment, unitsPerMetre for its length unit (both in read_xt_brep.h),
// tessellate. All three are pure functions and may run in several threads at once. Safe on any bytes: what is
// damaged is reported, the rest comes; time and memory are bounded by the size of the data.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "jttk/brep/bodies.h"
#include "jttk/brep/work_counter.h"  // kTooMuchWork, the reason of a loss
#include "jttk/mesh/shape_geometry.h"

namespace jttk::brep {

struct TessellationOptions {
  // Greatest distance of triangles from the surface, in percent of the diagonal of the bodies' box.
  double chord_tolerance_percent = 0.08;
  // In JT units, 0: none. Edges are not made shorter than this to meet the angle; the chord tolerance is
  // always met.
  double minimum_edge_length = 0;
  double angle_tolerance_rad = 0.3490658503988659;  // 20 degrees
  // JT units per metre.
  double units_per_metre = 1000;
  // Evaluations, and what costs as much, that are left for all parts together, in addition to each part's own
  // limit.
  std::uint64_t work_limit = std::numeric_limits<std::uint64_t>::max();
};

// A face, or something else, that gave no triangles.
struct TessellationLoss {
  std::int32_t face = kNoIndex;  // in Bodies::faces; kNoIndex: not of one face
  std::string reason;
};

struct TessellatedBody {
  std::uint32_t body = 0;  // in Bodies::bodies
  // Polygons of three corners each, counter-clockwise seen from outside, in JT units, with one attribute
  // record (unit normal) per corner of different normal. Empty when the body has no triangles.
  ShapeGeometry shape;
  // Per triangle: its face in Bodies::faces.
  std::vector<std::uint32_t> triangle_faces;
};

struct TessellatedBodies {
  std::vector<TessellatedBody> bodies;
  std::vector<TessellationLoss> losses;
  double chord_tolerance = 0;  // as used, in JT units
  double diagonal = 0;         // of the bodies' box, in JT units
  std::uint64_t work = 0;      // evaluations and, counted as such, faces, triangles and steps of searches
  bool is_cut = false;         // work_limit ended it, and no limit of its own
};

// Neighbouring faces share their points to the bit, so a body without losses is closed.
TessellatedBodies tessellate(const Bodies& bodies, const TessellationOptions& options);

// All bodies as one shape.
ShapeGeometry mergedShape(const TessellatedBodies& tessellated);

}  // namespace jttk::brep
