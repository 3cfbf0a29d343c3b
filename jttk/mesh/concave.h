// Takes polygons that are not convex apart into triangles. Polygons are fanned when strips are made of them,
// which is right for convex ones only.
#pragma once

#include "jttk/mesh/shape_geometry.h"

namespace jttk {

// Replaces every polygon of `shape` that has an inward corner by the triangles of its ears, with its winding
// and its corners' records. Convex polygons, degenerate ones and (beyond what can be afforded) very large
// ones stay as they are. Polygons need not be flat; they are looked at along their mean normal.
void splitConcavePolygons(ShapeGeometry& shape);

}  // namespace jttk
