// Segments with geometry that the scene graph makes no use of.
#pragma once

#include <optional>
#include <string>

#include "jttk/model/document.h"

namespace jttk {

// What to tell of the file's geometry segments that no node refers to, or only nodes that are no shapes, with
// their number and the names that are known; nothing when there are none. Coarser levels, hidden parts and
// what options leave out are referred to, and segments of nodes that could not be read have been told.
std::optional<std::string> tellUnusedGeometry(const Document& document);

}  // namespace jttk
