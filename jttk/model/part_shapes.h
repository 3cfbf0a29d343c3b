// Finds the shapes of a part in the scene graph.
#pragma once

#include <vector>

#include "jttk/model/model.h"

namespace jttk {

// A shape of a part: its node, and what the nodes on the path to it state.
struct ShapeOccurrence {
  NodeRef ref;
  MaterialStates::State material = MaterialStates::kEmpty;
  bool has_own_material = false;      // a material was found at or below the level of detail
  const Matrix* transform = nullptr;  // into the part's coordinates
  bool is_exact = false;              // the part's exact geometry; `ref` is the part's node
};
using Level = std::vector<ShapeOccurrence>;

struct PartShapes {
  std::vector<Level> levels;
  bool hides_finest = false;  // a node of the finest level is hidden
};

// All nodes below the part belong to it, also assemblies and instances. `inherited`: with the part's own
// attributes. What the model's budget has no room for is left out, which is reported.
PartShapes collectShapes(Model& model, const Product& product, const Inherited& inherited);

}  // namespace jttk
