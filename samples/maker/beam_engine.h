// The project's own sample model: a small beam steam engine of some twenty parts in nested assemblies.
#pragma once

#include "samples/maker/product.h"

namespace loftbay::maker {

// Lengths in millimetres, z is up, the beam swings in the plane y = 0. Every part has two levels of detail.
Product beamEngine();

}  // namespace loftbay::maker
