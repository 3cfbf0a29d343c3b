// The JSON chunk of a GLB file: a node per object with its name and its placement as translation, rotation
// and scale; meshes, materials, and the offsets of the arrays in the binary chunk.
#pragma once

#include "zix/glb_plan.h"
#include "zix/json_writer.h"
#include "zix/reader.h"

namespace Orb::Zix {

// Piece by piece, to the end.
void writeGlbJson(const SceneFile& scene, const GlbPlan& plan, JsonWriter& json);

}  // namespace Orb::Zix
