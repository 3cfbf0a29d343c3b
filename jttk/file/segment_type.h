// What kind of data a segment of a JT file holds, as the table of contents states it.
#pragma once

#include <cstdint>
#include <string>

namespace jttk {

enum class SegmentType : std::uint32_t {
  SceneGraph = 1,
  JtBrep = 2,
  Pmi = 3,
  MetaData = 4,
  Shape = 6,
  ShapeLod0 = 7,  // .. 16 = level 9
  ShapeLod9 = 16,
  XtBrep = 17,
  Wireframe = 18,
  Ulp = 20,
  Stt = 23,
  Lwpa = 24,
  MultiXtBrep = 30,
  Information = 31,
  StepBrep = 33,
};

[[nodiscard]] constexpr bool isShapeSegment(SegmentType type) {
  return type >= SegmentType::Shape && type <= SegmentType::ShapeLod9;
}
// Facets and exact geometry; not wireframes, which only repeat the edges of bodies.
[[nodiscard]] bool holdsGeometry(SegmentType type);

// "scene graph", "shape, level 0", …; of an unknown type its number.
[[nodiscard]] std::string segmentTypeName(SegmentType type);

}  // namespace jttk
