// Turns a JT material into a Material object of the scene.
#pragma once

#include "jttk/interface/jttk.h"
#include "zix/zix.h"

namespace loftbay::geometry {

// Makes a Material object, named "Material", and puts it on the mesh. A null material, and each value that
// the toolkit does not give, is the built-in one: opaque grey without gloss.
void writeMaterial(Orb::Zix::Scene_V1& scene, JtkMaterial* material, const Orb::Zix::ObjectId& mesh);

}  // namespace loftbay::geometry
