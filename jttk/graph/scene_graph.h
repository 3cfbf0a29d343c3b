// The logical scene graph of one file as flat, plain data: nodes, attributes and properties in arrays,
// linked by index. What the product structure means by them is decided elsewhere (product.h); this is what
// the file says.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"
#include "jttk/file/jt_file.h"

namespace jttk {

inline constexpr std::uint32_t kNone = 0xffffffffU;

enum class NodeKind : std::uint8_t {
  Base,
  Group,
  Partition,
  MetaData,
  Part,
  Instance,
  Lod,
  RangeLod,
  Switch,
  TriStripSet,
  PolylineSet,
  PointSet,
  PolygonSet,
  PrimitiveSet,
  NullShape,
  Shape,  // a shape node of the base kinds, which say nothing of what it holds
};
[[nodiscard]] const char* kindName(NodeKind kind);
[[nodiscard]] constexpr bool isShape(NodeKind kind) { return kind >= NodeKind::TriStripSet; }
[[nodiscard]] constexpr bool isLod(NodeKind kind) {
  return kind == NodeKind::Lod || kind == NodeKind::RangeLod;
}
// Nodes that are not part of the product structure: their children count as children of the node above.
[[nodiscard]] constexpr bool isGrouping(NodeKind kind) {
  return kind == NodeKind::Group || kind == NodeKind::Switch || kind == NodeKind::Base;
}

// A range of one of the graph's arrays.
struct Range {
  std::uint32_t first = 0;
  std::uint32_t count = 0;
};

// What a node states about its geometry. Box: min x y z, max x y z. Counts: minimum, maximum.
struct NodeStatistics {
  std::array<float, 6> box{};
  float area = 0;
  std::array<std::int32_t, 2> vertex_count{};
  std::array<std::int32_t, 2> polygon_count{};
};

struct Node {
  // Bit of `flags`: the node is hidden, it and all below it are not shown. What is not hidden may be not
  // shown all the same, as a switch's other children: whoever walks down asks shown_children.h.
  static constexpr std::uint32_t kHiddenFlag = 1;

  std::int32_t id = 0;
  NodeKind kind = NodeKind::Base;
  std::uint32_t flags = 0;
  std::int32_t selected = -1;        // of a switch: index of the child that is shown, -1 = none
  Range attributes;                  // of SceneGraph::node_attributes
  Range children;                    // of SceneGraph::children; an instance has one
  Range properties;                  // of SceneGraph::properties
  Range late_loaded;                 // of SceneGraph::late_loaded
  std::uint32_t name = kNone;        // of SceneGraph::strings
  std::uint32_t units = kNone;       // of SceneGraph::strings
  std::uint32_t file_name = kNone;   // of SceneGraph::strings; partitions only
  std::uint32_t statistics = kNone;  // of SceneGraph::figures; partitions and shapes only
  // Set by linkNodes:
  bool has_shapes = false;         // a shape (or another file) is at or below the node
  std::uint8_t product_count = 0;  // of a grouping node: nodes of the product structure below, 2 = several
};

enum class AttributeKind : std::uint8_t { Transform, Material, Other };

struct Attribute {
  static constexpr std::uint8_t kFinal = 0x1;   // attributes of this kind further down have no effect …
  static constexpr std::uint8_t kForce = 0x2;   // … except one that is forced
  static constexpr std::uint8_t kIgnore = 0x4;  // the attribute has no effect

  AttributeKind kind = AttributeKind::Other;
  std::uint8_t state = 0;
  std::uint32_t inhibited_fields = 0;  // fields that are not taken from this attribute
  std::uint32_t final_fields = 0;      // fields that attributes further down do not change
  std::uint32_t value = kNone;         // of SceneGraph::transforms or ::materials
  std::int32_t id = 0;
};

// Row-major, row vectors: p' = p * M, translation in elements 12 to 14.
using TransformElements = std::array<double, 16>;

// Colours are red, green, blue, alpha.
struct MaterialValues {
  std::uint16_t data_flags = 0;
  std::array<float, 4> ambient{};
  std::array<float, 4> diffuse{};
  std::array<float, 4> specular{};
  std::array<float, 4> emission{};
  float shininess = 0;
  bool operator==(const MaterialValues&) const = default;
};

// A text property of a node. Both are indices into SceneGraph::strings.
struct Property {
  std::uint32_t key = 0;
  std::uint32_t value = 0;
};

// A segment that belongs to a node and is read on demand.
struct LateLoaded {
  std::uint32_t key = 0;  // of SceneGraph::strings
  Guid segment;
  std::int32_t segment_type = 0;
};

// A segment that the property table assigns to an id that no node has.
struct StrayReference {
  std::int32_t node_id = 0;
  std::uint32_t name = kNone;  // of SceneGraph::strings
  Guid segment;
};

// Something that could not be read; the rest of the graph stands.
struct GraphDamage {
  std::uint32_t node = kNone;  // the node it belongs to, where there is one
  Error error;
};

// An element of a kind that this reader does not know.
struct UnknownElement {
  std::int32_t id = 0;
  Guid kind;
};

// An entry of SceneGraph::children that is no node index.
inline constexpr std::uint32_t kMissingChild = 0xffffffffU;  // no node has that id
inline constexpr std::uint32_t kCyclicChild = 0xfffffffeU;   // the child is a node that is above

struct SceneGraph {
  std::vector<Node> nodes;  // in file order
  std::uint32_t root = kNone;
  std::vector<std::uint32_t> node_attributes;  // indices into `attributes`
  std::vector<std::uint32_t> children;         // indices into `nodes`, or one of the two values above
  std::vector<std::int32_t> child_ids;         // parallel to `children`: the id that the file states
  std::vector<Attribute> attributes;
  std::vector<TransformElements> transforms;
  std::vector<MaterialValues> materials;
  std::vector<NodeStatistics> statistics;
  std::vector<Property> properties;
  std::vector<LateLoaded> late_loaded;
  std::vector<std::string> strings;
  std::vector<UnknownElement> unknown;
  std::vector<GraphDamage> damage;         // at most kMaxDamage entries
  std::size_t unlisted_damage = 0;         // how many more there were
  std::vector<std::string> notes;          // faults without consequences, for notes
  bool is_cut_off = false;                 // reading stopped before the end of the graph
  std::vector<std::int32_t> unread_nodes;  // ids of nodes that are damaged
  std::vector<StrayReference> stray_references;
  std::vector<std::uint32_t> hidden_nodes;  // that can be reached; their flag says so
  // Per node: the nearest named node at or above it, on the first path found in depth-first order.
  std::vector<std::uint32_t> nearest_named;
  std::size_t lights = 0;      // attribute elements that are lights
  std::size_t textures = 0;    // attribute elements that are texture images
  bool has_materials = false;  // a node that can be reached has a material

  static constexpr std::size_t kMaxDamage = 100;
  void addDamage(std::uint32_t node, Error error);

  // Index of the late loaded entry with that key; kNone when the node has none.
  [[nodiscard]] std::uint32_t findLateLoaded(const Node& node, std::string_view key) const;
  // The child that a switch shows; kNone when there is none.
  [[nodiscard]] std::uint32_t selectedChild(const Node& node) const;
  // The text at an index of `strings`; empty for kNone.
  [[nodiscard]] const std::string& text(std::uint32_t index) const;
};

}  // namespace jttk
