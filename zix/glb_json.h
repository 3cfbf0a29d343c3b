// The JSON chunk of a GLB file: a node per object with its name and its placement as translation, rotation
// and scale; meshes, materials, and the offsets of the arrays in the binary chunk.
#pragma once

#include <string_view>

#include "zix/glb_plan.h"
#include "zix/json_writer.h"
#include "zix/reader.h"
#include "zix/up_axis.h"

namespace Orb::Zix {

// The node above all others. It brings the scene to metres and turns it until y points up, and says so in its
// extras, so that a reader can undo it.
struct GlbRoot {
  bool is_there = true;
  double unit_metres = 0.001;
  std::string_view unit;  // its name; empty: none is known
  UpAxis up = UpAxis::Z;
};

// A unit that floats can be scaled by.
constexpr bool isUsableUnit(double metres) { return metres >= 1e-15 && metres <= 1e15; }

// Piece by piece, to the end.
void writeGlbJson(const SceneFile& scene, const GlbPlan& plan, const GlbRoot& root, JsonWriter& json);

}  // namespace Orb::Zix
