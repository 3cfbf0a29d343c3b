// Which node a graph begins with, and what its nodes do not lead to.
#pragma once

#include "jttk/model/scene_graph.h"

namespace jttk {

// The root is the partition that is nobody's child. Where several are, or none is, the first in the file is
// taken, which is reported. The graph has at least one node; its children are resolved.
std::uint32_t findRoot(SceneGraph& graph);

// Reports shapes and references to other files that no way from the root leads to, hidden ways included.
void reportUnreachable(SceneGraph& graph);

// Whether the node stands for another file, unless it is the root.
[[nodiscard]] bool standsForFile(const Node& node);

// Kind and id, for messages.
[[nodiscard]] std::string nodeText(const Node& node);

}  // namespace jttk
