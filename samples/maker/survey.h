// A sample of lines and points: a hill with contour lines, its measured points, and its surface with
// colours per vertex.
#pragma once

#include "samples/maker/product.h"

namespace loftbay::maker {

// Lengths in metres; parts "Surface" (triangles, open), "Contours" (polylines), "Marks" (points).
Product survey();

}  // namespace loftbay::maker
