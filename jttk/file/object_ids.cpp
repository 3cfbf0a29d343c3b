#include "jttk/file/object_ids.h"

#include <algorithm>
#include <iterator>

namespace jttk::object_id {

namespace {

struct Named {
  Guid id;
  const char* name;
};
constexpr Named kNames[] = {
    {kEndOfElements, "end of elements"},
    {kBaseNode, "base node"},
    {kPartitionNode, "partition node"},
    {kGroupNode, "group node"},
    {kInstanceNode, "instance node"},
    {kPartNode, "part node"},
    {kMetaDataNode, "meta data node"},
    {kLodNode, "level of detail node"},
    {kRangeLodNode, "range level of detail node"},
    {kSwitchNode, "switch node"},
    {kTriStripSetNode, "tri-strip set node"},
    {kPolylineSetNode, "polyline set node"},
    {kPolygonSetNode, "polygon set node"},
    {kPointSetNode, "point set node"},
    {kPrimitiveSetNode, "primitive set node"},
    {kNullShapeNode, "null shape node"},
    {kBaseShapeNode, "base shape node"},
    {kVertexShapeNode, "vertex shape node"},
    {kWireHarnessNode, "wire harness node"},
    {kTriStripSet, "tri-strip set"},
    {kPolylineSet, "polyline set"},
    {kPolygonSet, "polygon set"},
    {kPointSet, "point set"},
    {kNullShape, "null shape"},
    {kPrimitiveSet, "primitive set"},
    {kTransform, "transform"},
    {kMaterial, "material"},
    {kInfiniteLight, "infinite light"},
    {kPointLight, "point light"},
    {kTextureImage, "texture image"},
    {kDrawStyle, "draw style"},
    {kLightSet, "light set"},
    {kLineStyle, "line style"},
    {kPointStyle, "point style"},
    {kStringAtom, "string property"},
    {kIntegerAtom, "integer property"},
    {kFloatAtom, "floating point property"},
    {kDateAtom, "date property"},
    {kLateLoadedAtom, "late loaded property"},
    {kPropertyProxy, "property proxy meta data"},
    {kXtBrep, "XT B-Rep"},
};

}  // namespace

const char* name(const Guid& id) {
  const auto found =
      std::find_if(std::begin(kNames), std::end(kNames), [&](const Named& n) { return n.id == id; });
  return found == std::end(kNames) ? nullptr : found->name;
}

}  // namespace jttk::object_id
