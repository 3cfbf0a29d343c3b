// One line per object.
#include <algorithm>

#include "host/shown_text.h"
#include "zix/mesh_figures.h"
#include "zix/object_names.h"
#include "zix/scene_info.h"
#include "zix/tree_walk.h"

namespace Orb::Zix {

namespace {

// Beyond this the level is written as a number: the indentation of 100,000 levels would fill a disk.
constexpr std::size_t kDeepestIndent = 40;

std::string lineOf(const SceneFile& scene, std::uint32_t object, std::size_t level) {
  std::string line(2 * std::min(level, kDeepestIndent), ' ');
  if (level > kDeepestIndent) line += "[level " + std::to_string(level) + "] ";
  line += objectTypeName(scene.type(object));
  line += " \"" + loftbay::host::shownText(scene.name(object)) + "\"";
  if (scene.object(object).placement != format::kNone) line += " placed";
  if (scene.type(object) == ObjectType::Mesh) {
    const auto type = static_cast<MeshType>(scene.mesh(object).mesh_type);
    line += ": " + std::to_string(wholeElementCount(scene, object)) + " " + meshTypeName(type) + ", " +
            std::to_string(pointCount(scene, object)) + " points in its array";
  }
  return line + "\n";
}

}  // namespace

void writeTree(const SceneFile& scene, const TextSink& out, bool with_properties) {
  for (const std::uint32_t root : scene.treeRoots()) {
    walkTree(
        root, [&](std::uint32_t object) { return scene.children(object); },
        [](std::uint32_t) -> const format::TransformRecord* { return nullptr; },
        [&](std::uint32_t object, const Matrix&, std::size_t level) {
          out(lineOf(scene, object, level));
          if (!with_properties) return;
          const std::string indent(2 * std::min(level, kDeepestIndent) + 4, ' ');
          for (const SceneFile::Property& property : scene.properties(object)) {
            out(indent + "\"" + loftbay::host::shownText(property.key) + "\" = \"" +
                loftbay::host::shownText(property.value) + "\"\n");
          }
        },
        [](std::uint32_t) {});
  }
}

}  // namespace Orb::Zix
