#include "jttk/graph/shown_children.h"

namespace jttk {

namespace {

bool isInstanceOfHidden(const SceneGraph& graph, const Node& node) {
  if (node.kind != NodeKind::Instance) return false;
  const std::uint32_t target = graph.children[node.children.first];
  return target < graph.nodes.size() && !isShown(graph, target);
}

}  // namespace

bool isShown(const SceneGraph& graph, std::uint32_t node) {
  return node < graph.nodes.size() && (graph.nodes[node].flags & Node::kHiddenFlag) == 0;
}

bool isShownChild(const SceneGraph& graph, const Node& parent, std::uint32_t child) {
  if (!isShown(graph, child) || isInstanceOfHidden(graph, graph.nodes[child])) return false;
  return parent.kind != NodeKind::Switch || child == graph.selectedChild(parent);
}

bool hasContents(const Node& node) {
  if (isGrouping(node.kind)) return node.product_count > 0;
  return !isLod(node.kind) || node.has_shapes;
}

int productsAt(const Node& child) {
  if (isGrouping(child.kind)) return child.product_count;
  return hasContents(child) ? 1 : 0;
}

bool isReference(const SceneGraph& graph, std::uint32_t node) {
  return standsForFile(graph.nodes[node]) && node != graph.root;
}

bool standsForFile(const Node& node) {
  return node.kind == NodeKind::Partition && node.children.count == 0 && node.file_name != kNone;
}

}  // namespace jttk
