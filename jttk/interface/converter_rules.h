// What the toolkit arranges because of rules of the converter that uses it. All of it stands here.
//
// - Materials. The converter takes a material off its stack for each assembly and instance that it
//   leaves, also where it put none on. So in a model with materials every part answers one: where the
//   file gives none, builtInGrey, which is what the converter itself takes for a shape without a
//   material.
// - Tessellated parts. The converter writes the strips of JtkPart::tessellate with the opposite
//   winding. So the toolkit hands them out backwards (kTessellatedStripsAreBackwards), and each has an
//   odd number of corners (makeStripsOdd), because only such a strip turns over when it is read
//   backwards.
// - Instances. The converter asks the parts of assemblies whether they require tessellation, but not
//   the parts that instances refer to. So the exact geometry of the latter is offered as a level of
//   detail (offersExactAsLevel).
// - Placement. The converter places an instanced part by the instance alone. Where the part has a
//   transform of its own, that is counted and noted (InstanceObject::getReferencedNode).
#pragma once

#include "jttk/graph/scene_graph.h"
#include "jttk/model/product.h"

namespace jttk {

inline constexpr bool kTessellatedStripsAreBackwards = true;

// What the converter takes for a shape without a material.
[[nodiscard]] MaterialValues builtInGrey();

// Whether exact geometry of a part that was reached so has to be offered as a level of detail.
[[nodiscard]] inline bool offersExactAsLevel(Reached reached) { return reached == Reached::AsTarget; }

}  // namespace jttk
