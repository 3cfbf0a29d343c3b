// How long the texts of a JSON document about a scene would be, before any of it is written.
#include <vector>

#include "zix/scene_info.h"
#include "zix/tree_walk.h"

namespace Orb::Zix {

namespace {

// A placed mesh takes some hundred bytes of a file, and its path in a model some hundred bytes, too.
constexpr std::uint64_t kMostTextBytes = std::uint64_t{64} << 20;
constexpr std::uint64_t kMostTextPerFileByte = 64;

// With what JSON needs around it.
std::uint64_t textSize(std::string_view text) { return text.size() + 4; }

std::uint64_t propertiesSize(const std::vector<SceneFile::Property>& properties) {
  std::uint64_t sum = 0;
  for (const SceneFile::Property& property : properties)
    sum += textSize(property.key) + textSize(property.value);
  return sum;
}

// Calls `visit(object, path)` for every object of the tree; `path` is the size of the names of the nodes from
// the root to it.
template <typename Visit>
void forEachPath(const SceneFile& scene, Visit visit) {
  std::vector<std::uint64_t> sizes{0};  // one per level
  for (const std::uint32_t root : scene.treeRoots()) {
    walkTree(
        root, [&](std::uint32_t object) { return scene.children(object); },
        [](std::uint32_t) -> const format::TransformRecord* { return nullptr; },
        [&](std::uint32_t object, const Matrix&, std::size_t) {
          const bool is_node = scene.type(object) == ObjectType::Node;
          sizes.push_back(sizes.back() + (is_node ? textSize(scene.name(object)) : 0));
          visit(object, sizes.back());
        },
        [&](std::uint32_t) { sizes.pop_back(); });
  }
}

std::optional<ReadError> refusal(const SceneFile& scene, std::uint64_t size) {
  const std::uint64_t most = kMostTextBytes + kMostTextPerFileByte * scene.size();
  if (size <= most) return std::nullopt;
  return ReadError{"TOO_MUCH_TEXT", 0,
                   "the names in the JSON document would take " + std::to_string(size) +
                       " bytes, and of a file of this size at most " + std::to_string(most) + " are written",
                   ""};
}

}  // namespace

std::optional<ReadError> infoJsonRefusal(const SceneFile& scene) {
  std::uint64_t size = propertiesSize(scene.sceneProperties());
  for (std::size_t i = 0; i < scene.viewCount(); ++i) size += textSize(scene.viewName(i));
  forEachPath(scene, [&](std::uint32_t object, std::uint64_t path) {
    if (scene.type(object) != ObjectType::Mesh) return;
    const std::uint32_t shape = scene.object(object).parent;
    size += path + (shape == format::kNone ? 0 : textSize(scene.name(shape)));
  });
  return refusal(scene, size);
}

std::optional<ReadError> treeJsonRefusal(const SceneFile& scene, bool with_properties) {
  std::uint64_t size = 0;
  forEachPath(scene, [&](std::uint32_t object, std::uint64_t) {
    size += textSize(scene.name(object));
    if (with_properties) size += propertiesSize(scene.properties(object));
  });
  return refusal(scene, size);
}

}  // namespace Orb::Zix
