// Segments with geometry that the scene graph makes no use of.
#pragma once

#include <optional>
#include <string>

#include "jttk/model/document.h"

namespace jttk {

// The report about the file's geometry segments to which no node refers, or only nodes that are no shapes,
// with their number and the names that are known; nothing when there are none. Not counted: segments of
// coarser levels, hidden parts and excluded shapes (nodes refer to them), and of unreadable nodes (already
// reported).
std::optional<std::string> reportUnusedGeometry(const Document& document);

}  // namespace jttk
