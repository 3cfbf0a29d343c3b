// What the segments that belong to nodes hold.
#pragma once

#include "jttk/model/document.h"

namespace jttk {

// Whether segments of this type hold geometry other than shapes: exact geometry of any kind, or (possibly)
// types that are unknown.
[[nodiscard]] bool isGeometryOfItsOwn(std::int32_t segment_type);
[[nodiscard]] std::int32_t segmentType(const Document& document, const LateLoaded& entry);
// The node's first such segment; null when there is none.
[[nodiscard]] const LateLoaded* unreadGeometry(const Document& document, const Node& node);
// Why a segment of such a type gives nothing.
[[nodiscard]] std::string unreadText(std::int32_t segment_type);

}  // namespace jttk
