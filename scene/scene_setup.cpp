#include "scene/scene_setup.h"

#include <exception>

#include "diag/program_seams.h"
#include "host/out_of_memory.h"
#include "host/path.h"

namespace loftbay::scene {

Orb::Zix::ObjectId createRoot(Orb::Zix::Scene_V1& scene, NameMaker& names, const char* name) {
  const Orb::Zix::ObjectId root = scene.createObject(Orb::Zix::ObjectType::Node);
  diag::programSeams().observer->counted(diag::Counted::Nodes, 1);
  scene.setName(root, names.unique(name).c_str());
  return root;
}

void save(Orb::Zix::Scene_V1& scene, const Orb::Zix::ObjectId& root, const std::string& output_path) {
  const auto failed = [&output_path](const char* reason) {
    diag::programSeams().showMessageBox("Failed to save", diag::BoxIcon::None);
    diag::programSeams().observer->lost(host::toHostPath(output_path), reason);
  };
  try {
    scene.createDefaultViews(root);
    scene.closeFile(output_path.c_str());
  } catch (const std::exception& error) {
    failed(host::failureText(error));
  } catch (...) {
    failed("the scene could not be saved");
  }
}

}  // namespace loftbay::scene
