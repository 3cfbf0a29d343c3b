#include "jttk/interface/shape_type.h"

namespace jttk {

namespace {

// A set of solids of one type is a set of that type.
JtkEntity::TypeID typeOfSolids(std::uint32_t solid_types) {
  switch (solid_types) {
    case 1U << 0U:
      return JtkEntity::JtkBOXSET;
    case 1U << 1U:
      return JtkEntity::JtkCYLINDERSET;
    case 1U << 2U:
      return JtkEntity::JtkPYRAMIDSET;
    case 1U << 3U:
      return JtkEntity::JtkSPHERESET;
    case 1U << 4U:
      return JtkEntity::JtkTRIPRISMSET;
    default:
      return JtkEntity::JtkPRIMITIVESET;
  }
}

}  // namespace

JtkEntity::TypeID shapeType(const ShapeGeometry& geometry, NodeKind node) {
  switch (geometry.kind) {
    case PrimitiveKind::Polylines:
      return JtkEntity::JtkLINESTRIPSET;
    case PrimitiveKind::Points:
      return JtkEntity::JtkPOINTSET;
    case PrimitiveKind::Empty:
      return JtkEntity::JtkNULLSHAPE;
    case PrimitiveKind::TriangleStrips:
    case PrimitiveKind::Polygons:
      break;
  }
  if (geometry.facts.solid_types != 0) return typeOfSolids(geometry.facts.solid_types);
  if (node == NodeKind::PolygonSet) return JtkEntity::JtkPOLYGONSET;
  if (node == NodeKind::PrimitiveSet) return JtkEntity::JtkPRIMITIVESET;
  return JtkEntity::JtkTRISTRIPSET;
}

}  // namespace jttk
