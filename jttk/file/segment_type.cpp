#include "jttk/file/segment_type.h"

namespace jttk {

bool holdsGeometry(SegmentType type) {
  switch (type) {
    case SegmentType::JtBrep:
    case SegmentType::XtBrep:
    case SegmentType::Ulp:
    case SegmentType::Lwpa:
    case SegmentType::MultiXtBrep:
    case SegmentType::StepBrep:
      return true;
    default:
      return isShapeSegment(type);
  }
}

std::string segmentTypeName(SegmentType type) {
  const auto number = static_cast<std::uint32_t>(type);
  switch (type) {
    case SegmentType::SceneGraph:
      return "scene graph";
    case SegmentType::JtBrep:
      return "JT boundary representation";
    case SegmentType::Pmi:
      return "product manufacturing information";
    case SegmentType::MetaData:
      return "meta data";
    case SegmentType::Shape:
      return "shape";
    case SegmentType::XtBrep:
      return "XT boundary representation";
    case SegmentType::Wireframe:
      return "wireframe";
    case SegmentType::Ulp:
      return "ULP";
    case SegmentType::Stt:
      return "STT";
    case SegmentType::Lwpa:
      return "LWPA";
    case SegmentType::MultiXtBrep:
      return "XT boundary representations";
    case SegmentType::StepBrep:
      return "STEP boundary representation";
    case SegmentType::Information:
      return "information";
    default:
      break;
  }
  if (type >= SegmentType::ShapeLod0 && type <= SegmentType::ShapeLod9) {
    return "shape, level " + std::to_string(number - static_cast<std::uint32_t>(SegmentType::ShapeLod0));
  }
  return "type " + std::to_string(number);
}

}  // namespace jttk
