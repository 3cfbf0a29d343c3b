// Finds the shapes of a part in the scene graph.
#pragma once

#include <vector>

#include "jttk/model/part.h"

namespace jttk {

struct PartShapes {
  std::vector<Level> levels;
  bool hides_finest = false;  // a node of the finest level is hidden
};

// All nodes below the part belong to it, also assemblies and instances. `inherited`: with the part's own
// attributes. What the model's budget has no room for is left out, which is reported.
PartShapes collectShapes(Model& model, const Product& product, const Inherited& inherited);

}  // namespace jttk
