// Makes one graph of the nodes that a file lists: ids become indices, circles are cut, and each node learns
// what lies below it.
#pragma once

#include <string>

#include "jttk/model/scene_graph.h"

namespace jttk {

// Sorted pairs of id and index.
using IndexById = std::vector<std::pair<std::int32_t, std::uint32_t>>;

// Turns the ids that nodes list (children and attributes) into indices. `attribute_ids` is what readNode
// collected.
void resolveIds(const IndexById& nodes, const std::vector<std::int32_t>& attribute_ids, SceneGraph& graph);

// Walks the graph from its root, depth first and without recursion. A link to a node that is above becomes
// kCircularChild, so that no walk from the root can circle afterwards. Sets Node::has_shapes and
// product_count, nearest_named, ignored and has_materials, and reports links that lead nowhere.
void linkNodes(SceneGraph& graph);

}  // namespace jttk
