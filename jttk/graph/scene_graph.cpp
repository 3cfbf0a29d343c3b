#include "jttk/graph/scene_graph.h"

namespace jttk {

void SceneGraph::addDamage(std::uint32_t node, Error error) {
  if (damage.size() < kMaxDamage) {
    damage.push_back({node, std::move(error)});
  } else {
    ++unlisted_damage;
  }
}

std::uint32_t SceneGraph::findLateLoaded(const Node& node, std::string_view key) const {
  for (std::uint32_t i = 0; i < node.late_loaded.count; ++i) {
    const std::uint32_t index = node.late_loaded.first + i;
    if (strings[late_loaded[index].key] == key) return index;
  }
  return kNone;
}

std::uint32_t SceneGraph::selectedChild(const Node& node) const {
  if (node.selected < 0 || static_cast<std::uint32_t>(node.selected) >= node.children.count) return kNone;
  return children[node.children.first + static_cast<std::uint32_t>(node.selected)];
}

const std::string& SceneGraph::text(std::uint32_t index) const {
  static const std::string empty;
  return index == kNone ? empty : strings[index];
}

}  // namespace jttk
