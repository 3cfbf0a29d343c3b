#include "jttk/model/shape_decoding.h"

#include <algorithm>

#include "jttk/codec/shape_lod.h"
#include "jttk/graph/properties.h"
#include "jttk/graph/scene_graph.h"
#include "jttk/model/segment_kinds.h"
#include "jttk/model/settings.h"

namespace jttk {

namespace {

bool isShapeSegment(const Document& document, const LateLoaded& entry) {
  const TocEntry* listed = document.file->find(entry.segment);
  const auto type = listed != nullptr ? listed->type : static_cast<SegmentType>(entry.segment_type);
  return type >= SegmentType::Shape && type <= SegmentType::ShapeLod9;
}

// A shape node that states 0 vertices and 0 polygons may lack a segment.
bool countsNothing(const SceneGraph& graph, const Node& node) {
  if (node.statistics == kNone) return false;
  const NodeStatistics& statistics = graph.statistics[node.statistics];
  return statistics.vertex_count[1] == 0 && statistics.polygon_count[1] == 0;
}

// Whether the file has no transforms, and no other shape than `shape`.
bool isTheOnlyShape(const SceneGraph& graph, const Node& shape) {
  const auto is_other = [&](const Node& node) { return isShape(node.kind) && node.id != shape.id; };
  return graph.transforms.empty() && std::none_of(graph.nodes.begin(), graph.nodes.end(), is_other);
}

// Whether the shape node has a transform of its own. Then it is unclear whether its box is before or after
// it.
bool movesItself(const SceneGraph& graph, const Node& node) {
  for (std::uint32_t i = 0; i < node.attributes.count; ++i) {
    const std::uint32_t index = graph.node_attributes[node.attributes.first + i];
    if (index != kNone && graph.attributes[index].kind == AttributeKind::Transform) return true;
  }
  return false;
}

// What the scene graph states about a shape: its own extent; for a primitive set that is the only shape, the
// root's, too.
std::vector<StatedExtent> statedExtents(const SceneGraph& graph, const Node& node) {
  if (node.kind != NodeKind::PrimitiveSet && movesItself(graph, node)) return {};
  std::vector<StatedExtent> stated;
  const auto add = [&](std::uint32_t index) {
    if (index != kNone) stated.push_back({graph.statistics[index].box, graph.statistics[index].area});
  };
  add(node.statistics);
  if (node.kind == NodeKind::PrimitiveSet && isTheOnlyShape(graph, node))
    add(graph.nodes[graph.root].statistics);
  return stated;
}

// Counts the memory that using a decoded shape takes for a while: several arrays per triangle to make strips
// of polygons, and tables of the vertices in the code that receives the shape.
Result<void> takeMemoryToUse(const ShapeGeometry& geometry, MemoryBudget& memory) {
  constexpr std::uint64_t kBytesPerCorner = 24;
  constexpr std::uint64_t kBytesPerVertex = 64;
  const std::size_t corners = geometry.kind == PrimitiveKind::Polygons ? geometry.corner_positions.size() : 0;
  auto taken = memory.take(corners, kBytesPerCorner);
  return taken ? memory.take(geometry.positions.size() / 3, kBytesPerVertex) : taken;
}

}  // namespace

std::uint32_t geometryEntry(const Document& document, const Node& node) {
  const std::uint32_t usual = document.graph.findLateLoaded(node, kShapeKey);
  if (usual != kNone) return usual;
  for (std::uint32_t i = 0; i < node.late_loaded.count; ++i) {
    const std::uint32_t index = node.late_loaded.first + i;
    if (isShapeSegment(document, document.graph.late_loaded[index])) return index;
  }
  return kNone;
}

Result<ShapeGeometry> decodeShape(const Document& document, const Node& node, MemoryBudget& memory) {
  if (node.kind == NodeKind::NullShape) return ShapeGeometry{};
  const SceneGraph& graph = document.graph;
  const std::uint32_t entry = geometryEntry(document, node);
  const std::string what = std::string(kindName(node.kind)) + " " + std::to_string(node.id);
  if (entry == kNone) {
    if (const LateLoaded* unread = unreadGeometry(document, node)) {
      const auto type = static_cast<SegmentType>(segmentType(document, *unread));
      return tl::unexpected<Error>(makeError(unreadText(segmentType(document, *unread)))
                                       .ofSegment({unread->segment, type}, OffsetIn::Nothing));
    }
    if (countsNothing(graph, node)) return ShapeGeometry{};
    return fail(what + " has no geometry segment");
  }
  const Guid& id = graph.late_loaded[entry].segment;
  const TocEntry* listed = document.file->find(id);
  if (listed == nullptr) {
    return tl::unexpected<Error>(
        makeError("is not in the table of contents").ofSegment({id, SegmentType{}}, OffsetIn::Nothing));
  }
  const Result<Segment> segment = document.file->segment(*listed);
  if (!segment) return passOn(segment);
  const std::vector<StatedExtent> stated = statedExtents(graph, node);
  Result<ShapeGeometry> geometry =
      decodeShapeLod(*segment, document.file->version(), document.file->byteOrder(),
                     {stated, &memory, settings().extra_attributes});
  if (geometry) {
    if (auto taken = takeMemoryToUse(*geometry, memory); !taken) geometry = passOn(taken);
  }
  if (!geometry) return tl::unexpected<Error>(segment->named(geometry.error()));
  for (std::string* text : {&geometry->facts.doubt, &geometry->facts.coordinate_note}) {
    if (!text->empty()) text->insert(0, "segment " + id.text() + ": ");
  }
  return geometry;
}

}  // namespace jttk
