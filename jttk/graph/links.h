// Links the nodes of a file: resolves ids to indices, cuts cycles, and computes what lies below each node.
#pragma once

#include <string>

#include "jttk/graph/scene_graph.h"

namespace jttk {

// Sorted pairs of id and index.
using IndexById = std::vector<std::pair<std::int32_t, std::uint32_t>>;

// Turns the ids that nodes list (children and attributes) into indices. `attribute_ids` is what readNode
// collected.
void resolveIds(const IndexById& nodes, const std::vector<std::int32_t>& attribute_ids, SceneGraph& graph);

// Walks the graph from its root, depth first and without recursion. A link back to an ancestor becomes
// kCyclicChild, so that later walks end. Sets Node::has_shapes and product_count, nearest_named,
// hidden_nodes and has_materials, and reports links to nodes that are missing.
void linkNodes(SceneGraph& graph);

}  // namespace jttk
