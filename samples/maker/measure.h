// What a shape's node states about it, measured.
#pragma once

#include "samples/maker/figures.h"

namespace loftbay::maker {

// Box, area and counts of a shape; the area of lines and points is 0.
Figures measure(const Shape& shape);

}  // namespace loftbay::maker
