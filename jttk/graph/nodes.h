// Bodies of the node elements.
#pragma once

#include <optional>

#include "jttk/file/elements.h"
#include "jttk/graph/scene_graph.h"

namespace jttk {

// The kind of node that a GUID names; empty when it is unknown.
std::optional<NodeKind> nodeKind(const Guid& guid);

// The kind as which a node of unknown kind can be read by its base type: every group has its children at the
// same offset, every shape its stated box, area and counts. Empty for other base types.
std::optional<NodeKind> nodeKindOfBaseType(std::uint8_t base_type);

// Reads the element's body and appends the node to the graph. `attribute_ids` gets the ids of its attributes
// (Node::attributes is a range of it until they are resolved). Fails when the body does not hold what a node
// of this kind needs; the graph is unchanged then.
Result<void> readNode(Element& element, NodeKind kind, Version version, SceneGraph& graph,
                      std::vector<std::int32_t>& attribute_ids);

}  // namespace jttk
