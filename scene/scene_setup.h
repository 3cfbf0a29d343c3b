// The start and the end of a scene: its root before the model is walked, its views and the closing of the
// file after that.
#pragma once

#include <string>

#include "scene/name_maker.h"
#include "zix/zix.h"

namespace loftbay::scene {

// The root's object, named by the name maker. `name` may be null. Throws what the scene throws.
Orb::Zix::ObjectId createRoot(Orb::Zix::Scene_V1& scene, NameMaker& names, const char* name);

// Makes the default views and closes the file; the path is in program form. Whatever goes wrong is shown in a
// message box and reported to the observer as a loss, and not thrown.
void save(Orb::Zix::Scene_V1& scene, const Orb::Zix::ObjectId& root, const std::string& output_path);

}  // namespace loftbay::scene
