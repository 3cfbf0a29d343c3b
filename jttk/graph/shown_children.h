// Which children of a node are shown. Whoever walks down a graph asks here.
#pragma once

#include "jttk/graph/scene_graph.h"

namespace jttk {

// Whether an index is that of a node, and the node is not hidden.
[[nodiscard]] bool isShown(const SceneGraph& graph, std::uint32_t node);

// Whether `child`, which `parent` has as a child, is shown: not where it is hidden or missing, where the
// parent is a switch that selects another, or where it is an instance of a hidden node.
[[nodiscard]] bool isShownChild(const SceneGraph& graph, const Node& parent, std::uint32_t child);

// False for grouping nodes and levels of detail with nothing below that is shown. Set by linkNodes.
[[nodiscard]] bool hasContents(const Node& node);

// How many nodes of the product structure a shown child stands for: of a grouping node those below it; 2 =
// several.
[[nodiscard]] int productsAt(const Node& child);

// Calls visit(child index) for each shown child, in the order of the file.
template <typename Visit>
void forShownChildren(const SceneGraph& graph, const Node& parent, Visit visit) {
  for (std::uint32_t i = 0; i < parent.children.count; ++i) {
    const std::uint32_t child = graph.children[parent.children.first + i];
    if (isShownChild(graph, parent, child)) visit(child);
  }
}

// Whether the node stands for another file: a partition that names a file and has no children of its own. The
// root of a graph never does.
[[nodiscard]] bool isReference(const SceneGraph& graph, std::uint32_t node);
// The same for a node that is known not to be the root.
[[nodiscard]] bool standsForFile(const Node& node);

}  // namespace jttk
