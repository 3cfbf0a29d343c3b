#include "jttk/graph/roots.h"

#include "jttk/graph/shown_children.h"

namespace jttk {

namespace {

constexpr std::size_t kMostNames = 5;

// Nodes that no other node has as a child.
std::vector<std::uint32_t> freeNodes(const SceneGraph& graph) {
  std::vector<bool> is_child(graph.nodes.size());
  for (const std::uint32_t child : graph.children) {
    if (child < graph.nodes.size()) is_child[child] = true;
  }
  std::vector<std::uint32_t> free;
  for (std::uint32_t i = 0; i < graph.nodes.size(); ++i) {
    if (!is_child[i]) free.push_back(i);
  }
  return free;
}

// The root when every partition is a child of some node. If elements could not be read, one of them may have
// been the root: the first parentless node that is no shape. Else the first partition that is no reference to
// a file.
std::uint32_t standIn(const SceneGraph& graph, const std::vector<std::uint32_t>& free) {
  std::uint32_t free_group = kNone;
  for (const std::uint32_t node : free) {
    if (free_group == kNone && !isShape(graph.nodes[node].kind)) free_group = node;
  }
  const bool incomplete = !graph.damage.empty() || !graph.unknown.empty();
  if (incomplete && free_group != kNone) return free_group;
  for (std::uint32_t i = 0; i < graph.nodes.size(); ++i) {
    if (graph.nodes[i].kind == NodeKind::Partition && !standsForFile(graph.nodes[i])) return i;
  }
  if (free_group != kNone) return free_group;
  return free.empty() ? 0 : free.front();
}

void report(SceneGraph& graph, std::string text) { graph.addDamage(kNone, makeError(std::move(text))); }

}  // namespace

std::string nodeText(const Node& node) {
  return std::string(kindName(node.kind)) + " " + std::to_string(node.id);
}

std::uint32_t findRoot(SceneGraph& graph) {
  const std::vector<std::uint32_t> free = freeNodes(graph);
  std::uint32_t root = kNone;
  std::size_t count = 0;
  for (const std::uint32_t node : free) {
    if (graph.nodes[node].kind != NodeKind::Partition) continue;
    if (count++ == 0) root = node;
  }
  if (count == 1) return root;
  if (root == kNone) root = standIn(graph, free);
  report(graph, (count == 0 ? "no partition is" : std::to_string(count) + " partitions are") +
                    std::string(" at the top, where one has to be; the ") + nodeText(graph.nodes[root]) +
                    " is taken for the root");
  return root;
}

void reportUnreachable(SceneGraph& graph) {
  std::vector<bool> reached(graph.nodes.size());
  std::vector<std::uint32_t> open = {graph.root};
  reached[graph.root] = true;
  while (!open.empty()) {
    const Range children = graph.nodes[open.back()].children;
    open.pop_back();
    for (std::uint32_t i = 0; i < children.count; ++i) {
      const std::uint32_t child = graph.children[children.first + i];
      if (child >= graph.nodes.size() || reached[child]) continue;
      reached[child] = true;
      open.push_back(child);
    }
  }
  std::size_t count = 0;
  std::string names;
  for (std::uint32_t i = 0; i < graph.nodes.size(); ++i) {
    const Node& node = graph.nodes[i];
    const bool shows = (isShape(node.kind) && node.kind != NodeKind::NullShape) || standsForFile(node);
    if (reached[i] || !shows) continue;
    if (++count <= kMostNames) names.append(count == 1 ? "" : ", ").append(nodeText(node));
  }
  if (count == 0) return;
  if (count > kMostNames) names += ", …";
  report(graph, "no way leads from the root to " + std::to_string(count) + " node" + (count == 1 ? "" : "s") +
                    " with geometry, which is missing: " + names);
}

}  // namespace jttk
