// Finds the root of a graph, and nodes that cannot be reached from it.
#pragma once

#include "jttk/graph/scene_graph.h"

namespace jttk {

// The root is the partition that is no node's child. Where several are, or none is, the first in the file is
// taken, which is reported. The graph has at least one node; its children are resolved.
std::uint32_t findRoot(SceneGraph& graph);

// Reports shapes and references to other files that cannot be reached from the root, not even through hidden
// nodes.
void reportUnreachable(SceneGraph& graph);

// Kind and id, for messages.
[[nodiscard]] std::string nodeText(const Node& node);

}  // namespace jttk
