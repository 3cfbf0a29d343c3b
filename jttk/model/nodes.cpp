// Layouts of the node elements. Every collection starts with its version (see readVersion); the exceptions
// are spelled out where they occur. Trailing fields that are not needed are not read: the element's length
// leads to the next one. Box, area and counts are used only if all of them can be read.
#include "jttk/model/nodes.h"

#include <algorithm>
#include <array>

namespace jttk {

namespace {

constexpr std::uint16_t kTailA = 0x2ac8;
constexpr std::uint16_t kTailB = 0x11d1;

constexpr Guid common(std::uint32_t first) {
  return {first, kTailA, kTailB, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
}
constexpr Guid partFamily(std::uint32_t first) {
  return {first, 0x38fb, 0x11d1, {0xa5, 0x06, 0x00, 0x60, 0x97, 0xbd, 0xc6, 0xe1}};
}

struct KnownKind {
  Guid guid;
  NodeKind kind;
};
constexpr std::array kKnownKinds = {
    KnownKind{common(0x10dd1035), NodeKind::Base},
    KnownKind{common(0x10dd103e), NodeKind::Partition},
    KnownKind{common(0x10dd101b), NodeKind::Group},
    KnownKind{common(0x10dd102a), NodeKind::Instance},
    KnownKind{partFamily(0xce357244), NodeKind::Part},
    KnownKind{partFamily(0xce357245), NodeKind::MetaData},
    KnownKind{common(0x10dd102c), NodeKind::Lod},
    KnownKind{common(0x10dd104c), NodeKind::RangeLod},
    KnownKind{common(0x10dd10f3), NodeKind::Switch},
    KnownKind{common(0x10dd1077), NodeKind::TriStripSet},
    KnownKind{common(0x10dd1046), NodeKind::PolylineSet},
    KnownKind{common(0x10dd1048), NodeKind::PolygonSet},
    KnownKind{{0x98134716, 0x0010, 0x0818, {0x19, 0x98, 0x08, 0x00, 0x09, 0x83, 0x5d, 0x5a}},
              NodeKind::PointSet},
    KnownKind{{0xe40373c1, 0x1ad9, 0x11d3, {0x9d, 0xaf, 0x00, 0xa0, 0xc9, 0xc7, 0xdd, 0xc2}},
              NodeKind::PrimitiveSet},
    KnownKind{{0xd239e7b6, 0xdd77, 0x4289, {0xa0, 0x7d, 0xb0, 0xee, 0x79, 0xf7, 0x94, 0x94}},
              NodeKind::NullShape},
    KnownKind{common(0x10dd107f), NodeKind::Shape},
    // A wire harness: its wires are in a segment whose layout is not published.
    KnownKind{{0x4cc7a521, 0x0728, 0x11d3, {0x9d, 0x8b, 0x00, 0xa0, 0xc9, 0xc7, 0xdd, 0xc2}},
              NodeKind::Shape},
    KnownKind{common(0x10dd1059), NodeKind::Shape},
};

void readBox(ByteReader& body, std::array<float, 6>& box) {
  for (float& value : box) value = body.f32("box");
}

void readCounts(ByteReader& body, std::array<std::int32_t, 2>& counts) {
  for (std::int32_t& value : counts) value = body.i32("count range");
}

// BBox, F32 area, I32[2] vertex count, I32[2] node count, I32[2] polygon count.
void readFigures(ByteReader& body, Node& node, SceneGraph& graph) {
  Figures figures;
  std::array<std::int32_t, 2> node_count{};
  readBox(body, figures.box);
  figures.area = body.f32("area");
  readCounts(body, figures.vertex_count);
  readCounts(body, node_count);
  readCounts(body, figures.polygon_count);
  if (!body.ok()) return;
  node.figures = static_cast<std::uint32_t>(graph.figures.size());
  graph.figures.push_back(figures);
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
  ByteReader figures = body;
  readFigures(figures, node, graph);
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

bool readNode(Element& element, NodeKind kind, Version version, SceneGraph& graph,
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
    return false;
  }
  graph.nodes.push_back(node);
  return true;
}

}  // namespace jttk
