// A sample with exact geometry only: two pipe flanges, face to face, and the ring that seals them. No part
// has a shape of triangles.
#pragma once

#include "samples/maker/product.h"

namespace loftbay::maker {

// Lengths in metres. "Flange" is used by two instances; "Seal" (a torus without any edge) is a direct child
// of the assembly.
Product flangeJoint();

}  // namespace loftbay::maker
