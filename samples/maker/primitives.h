// Primitive sets: solids given by numbers.
#pragma once

#include <vector>

#include "samples/maker/byte_writer.h"
#include "samples/maker/figures.h"
#include "samples/maker/format.h"
#include "samples/maker/product.h"

namespace loftbay::maker {

// Exact box and area. Counts are 0: there are no triangles yet.
Figures measureSolids(const std::vector<PrimitiveSolid>& solids);

// The volume of one solid.
double volumeOf(const PrimitiveSolid& solid);

// The element's body after its header (8.x) or object id.
void writePrimitiveSet(ByteWriter& out, const Shape& shape, const Options& options);

}  // namespace loftbay::maker
