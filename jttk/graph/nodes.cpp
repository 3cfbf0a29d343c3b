// Layouts of the node elements. Every collection starts with its version (see readVersion); the exceptions
// are spelled out where they occur. Trailing fields that are not needed are not read: the element's length
// leads to the next one. Box, area and counts are used only if all of them can be read.
#include "jttk/graph/nodes.h"

#include <algorithm>
#include <array>

#include "jttk/file/object_ids.h"

namespace jttk {

namespace {

struct KnownKind {
  Guid guid;
  NodeKind kind;
};
constexpr std::array kKnownKinds = {
    KnownKind{object_id::kBaseNode, NodeKind::Base},
    KnownKind{object_id::kPartitionNode, NodeKind::Partition},
    KnownKind{object_id::kGroupNode, NodeKind::Group},
    KnownKind{object_id::kInstanceNode, NodeKind::Instance},
    KnownKind{object_id::kPartNode, NodeKind::Part},
    KnownKind{object_id::kMetaDataNode, NodeKind::MetaData},
    KnownKind{object_id::kLodNode, NodeKind::Lod},
    KnownKind{object_id::kRangeLodNode, NodeKind::RangeLod},
    KnownKind{object_id::kSwitchNode, NodeKind::Switch},
    KnownKind{object_id::kTriStripSetNode, NodeKind::TriStripSet},
    KnownKind{object_id::kPolylineSetNode, NodeKind::PolylineSet},
    KnownKind{object_id::kPolygonSetNode, NodeKind::PolygonSet},
    KnownKind{object_id::kPointSetNode, NodeKind::PointSet},
    KnownKind{object_id::kPrimitiveSetNode, NodeKind::PrimitiveSet},
    KnownKind{object_id::kNullShapeNode, NodeKind::NullShape},
    KnownKind{object_id::kVertexShapeNode, NodeKind::Shape},
    KnownKind{object_id::kWireHarnessNode, NodeKind::Shape},
    KnownKind{object_id::kBaseShapeNode, NodeKind::Shape},
};

void readBox(ByteReader& body, std::array<float, 6>& box) {
  for (float& value : box) value = body.f32("box");
}

void readCounts(ByteReader& body, std::array<std::int32_t, 2>& counts) {
  for (std::int32_t& value : counts) value = body.i32("count range");
}

// BBox, F32 area, I32[2] vertex count, I32[2] node count, I32[2] polygon count.
void readFigures(ByteReader& body, Node& node, SceneGraph& graph) {
  NodeStatistics statistics;
  std::array<std::int32_t, 2> node_count{};
  readBox(body, statistics.box);
  statistics.area = body.f32("area");
  readCounts(body, statistics.vertex_count);
  readCounts(body, node_count);
  readCounts(body, statistics.polygon_count);
  if (!body.ok()) return;
  node.statistics = static_cast<std::uint32_t>(graph.statistics.size());
  graph.statistics.push_back(statistics);
}

// v, U32 flags, I32 n, n x I32 attribute ids.
void readBase(ByteReader& body, Version version, Node& node, std::vector<std::int32_t>& attribute_ids) {
  readVersion(body, version);
  node.flags = body.u32("node flags");
  node.attributes = {static_cast<std::uint32_t>(attribute_ids.size()), body.count("attribute count", 4)};
  for (std::uint32_t i = 0; i < node.attributes.count; ++i) attribute_ids.push_back(body.i32("attribute id"));
}

// v, I32 n, n x I32 child ids.
void readChildren(ByteReader& body, Version version, Node& node, SceneGraph& graph) {
  readVersion(body, version);
  node.children = {static_cast<std::uint32_t>(graph.child_ids.size()), body.count("child count", 4)};
  for (std::uint32_t i = 0; i < node.children.count; ++i) graph.child_ids.push_back(body.i32("child id"));
}

// A partition with children does not need what follows them.
void readPartition(ByteReader& body, Version version, Node& node, SceneGraph& graph) {
  const ByteReader before = body;
  if (version.major >= 10) readVersion(body, version);  // 8.x and 9.x have none here
  body.skip(4, "partition flags");
  std::string file_name = body.mbString("file name");
  if (!body.ok()) {
    if (before.ok() && node.children.count > 0) body = before;
    return;
  }
  if (!file_name.empty()) {
    node.file_name = static_cast<std::uint32_t>(graph.strings.size());
    graph.strings.push_back(std::move(file_name));
  }
  ByteReader statistics = body;
  readFigures(statistics, node, graph);
}

void readShape(ByteReader body, Version version, Node& node, SceneGraph& graph) {
  readVersion(body, version);
  if (version.major < 10) body.skip(24, "reserved box");
  readFigures(body, node, graph);
}

}  // namespace

const char* kindName(NodeKind kind) {
  static constexpr std::array kNames = {"node",        "group",         "partition",    "assembly",
                                        "part",        "instance",      "lod",          "range lod",
                                        "switch",      "tri-strip set", "polyline set", "point set",
                                        "polygon set", "primitive set", "null shape",   "shape"};
  return kNames[static_cast<std::size_t>(kind)];
}

std::optional<NodeKind> nodeKind(const Guid& guid) {
  const auto* found = std::find_if(kKnownKinds.begin(), kKnownKinds.end(),
                                   [&](const KnownKind& known) { return known.guid == guid; });
  if (found == kKnownKinds.end()) return std::nullopt;
  return found->kind;
}

std::optional<NodeKind> nodeKindOfBaseType(std::uint8_t base_type) {
  constexpr std::uint8_t kGroupNode = 1;
  constexpr std::uint8_t kShapeNode = 2;
  if (base_type == kGroupNode) return NodeKind::Group;
  if (base_type == kShapeNode) return NodeKind::Shape;
  return std::nullopt;
}

Result<void> readNode(Element& element, NodeKind kind, Version version, SceneGraph& graph,
                      std::vector<std::int32_t>& attribute_ids) {
  const std::size_t attributes_before = attribute_ids.size();
  const std::size_t children_before = graph.child_ids.size();
  ByteReader& body = element.body;
  Node node;
  node.id = element.id;
  node.kind = kind;
  readBase(body, version, node, attribute_ids);
  if (isShape(kind)) {
    if (body.ok()) readShape(body, version, node, graph);
  } else if (kind == NodeKind::Instance) {
    readVersion(body, version);
    node.children = {static_cast<std::uint32_t>(children_before), 1};
    graph.child_ids.push_back(body.i32("child id"));
  } else if (kind != NodeKind::Base) {
    readChildren(body, version, node, graph);
    if (kind == NodeKind::Partition) readPartition(body, version, node, graph);
    if (kind == NodeKind::Switch) {
      readVersion(body, version);
      node.selected = body.i32("selected child");
    }
  }
  if (!body.ok()) {
    attribute_ids.resize(attributes_before);
    graph.child_ids.resize(children_before);
    return body.unexpected();
  }
  graph.nodes.push_back(node);
  return {};
}

}  // namespace jttk
