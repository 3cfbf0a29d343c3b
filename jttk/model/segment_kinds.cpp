#include "jttk/model/segment_kinds.h"

#include "jttk/graph/properties.h"

namespace jttk {

bool isGeometryOfItsOwn(std::int32_t segment_type) {
  switch (static_cast<SegmentType>(segment_type)) {
    case SegmentType::SceneGraph:
    case SegmentType::Pmi:
    case SegmentType::MetaData:
    case SegmentType::Wireframe:
    case SegmentType::Stt:
    case SegmentType::Information:
      return false;
    default:
      return segment_type < static_cast<std::int32_t>(SegmentType::Shape) ||
             segment_type > static_cast<std::int32_t>(SegmentType::ShapeLod9);
  }
}

// The type in the table of contents, else by the key, else the atom's.
std::int32_t segmentType(const Document& document, const LateLoaded& entry) {
  if (const TocEntry* listed = document.file->find(entry.segment)) {
    return static_cast<std::int32_t>(listed->type);
  }
  if (document.graph.text(entry.key) == kXtBrepKey) return static_cast<std::int32_t>(SegmentType::XtBrep);
  return entry.segment_type;
}

const LateLoaded* unreadGeometry(const Document& document, const Node& node) {
  for (std::uint32_t i = 0; i < node.late_loaded.count; ++i) {
    const LateLoaded& entry = document.graph.late_loaded[node.late_loaded.first + i];
    if (isGeometryOfItsOwn(segmentType(document, entry))) return &entry;
  }
  return nullptr;
}

std::string unreadText(std::int32_t segment_type) {
  switch (static_cast<SegmentType>(segment_type)) {
    case SegmentType::JtBrep:
      return "exact geometry of this kind (JT B-Rep) cannot be read";
    case SegmentType::XtBrep:
    case SegmentType::MultiXtBrep:
      return "exact geometry (XT B-Rep) cannot be read at this place";
    case SegmentType::Ulp:
      return "exact geometry of this kind (ULP) cannot be read";
    case SegmentType::Lwpa:
      return "exact geometry of this kind (LWPA) cannot be read";
    case SegmentType::StepBrep:
      return "exact geometry of this kind (STEP B-Rep) cannot be read";
    default:
      return "a segment of this kind (type " + std::to_string(segment_type) + ") cannot be read";
  }
}

}  // namespace jttk
