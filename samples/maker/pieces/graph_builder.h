// Writes scene graph segments and whole files with them, element by element: any version from 8.0 to 10.x,
// both byte orders. Nothing checks that they make sense together.
//
//   GraphBuilder graph("9.5");
//   graph.partition(0, {1}).name("machine.asm;0;0:");
//   graph.part(1, {2}).name("wheel.part;0;0:");
//   graph.triStrips(2);
//   Bytes file = graph.file();
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "samples/maker/elements.h"
#include "samples/maker/pieces/bytes.h"
#include "samples/maker/pieces/meta_data.h"

namespace loftbay::maker::pieces {

using maker::Ids;

class GraphBuilder {
 public:
  explicit GraphBuilder(std::string version = "9.5", ByteOrder order = ByteOrder::Little);

  // Settings of the node that was added last.
  class NodeSettings {
   public:
    NodeSettings(GraphBuilder& graph, std::int32_t id) : graph_(graph), id_(id) {}
    NodeSettings& name(std::string_view text) { return property("JT_PROP_NAME", text); }
    NodeSettings& property(std::string_view key, std::string_view value);
    NodeSettings& number(std::string_view key, const PropertyValue& value);
    // A date with hours ahead of UTC, as from 10.3 on.
    NodeSettings& zonedDate(std::string_view key, const Date& date, float hours_ahead);
    // `properties` in a meta data segment of their own.
    NodeSettings& metaData(const GuidValue& segment, const std::vector<MetaDataProperty>& properties);
    NodeSettings& lateLoaded(std::string_view key, const GuidValue& segment, std::int32_t type);
    NodeSettings& attributes(Ids ids);
    NodeSettings& flags(std::uint32_t flags);

   private:
    GraphBuilder& graph_;
    std::int32_t id_;
  };

  NodeSettings partition(std::int32_t id, Ids children, std::string file_name = "");
  NodeSettings metaData(std::int32_t id, Ids children);
  NodeSettings part(std::int32_t id, Ids children);
  NodeSettings instance(std::int32_t id, std::int32_t child);
  NodeSettings group(std::int32_t id, Ids children);
  NodeSettings rangeLod(std::int32_t id, Ids children);
  NodeSettings lod(std::int32_t id, Ids children);
  NodeSettings switchNode(std::int32_t id, Ids children, std::int32_t selected);
  // A tetrahedron of four vertices, vertex i at (i, 2i, 3i + 0.5), in a segment of its own (from 9.0 on).
  NodeSettings triStrips(std::int32_t id);
  // A shape node of another kind, with a segment of its own that holds `geometry`. `tail`: what follows the
  // base shape in the node.
  NodeSettings shapeNode(std::int32_t id, const GuidValue& kind, const Bytes& tail, const Bytes& geometry);
  // The same without geometry.
  NodeSettings emptyTriStrips(std::int32_t id);
  // The same, and its counts are 0.
  NodeSettings triStripsOfNothing(std::int32_t id);
  NodeSettings nullShape(std::int32_t id);
  // Nodes of an unknown kind, with the base type of a group, of a shape.
  NodeSettings unknownGroup(std::int32_t id, const GuidValue& kind, Ids children);
  NodeSettings unknownShape(std::int32_t id, const GuidValue& kind);
  NodeSettings element(std::int32_t id, const GuidValue& kind, Bytes body);

  // For the attributes from here on (10.x): the version of the base attribute, and whether a palette index
  // follows.
  void setBaseAttribute(std::uint32_t version, bool palette_index) {
    base_attribute_version_ = version;
    palette_index_ = palette_index;
  }
  // The property table lists every node once for each of its properties.
  void splitPropertyTable() { split_table_ = true; }
  // Every late loaded atom is followed by another one with the same id, which names this segment.
  void rivalAtoms(const GuidValue& segment) { rival_ = segment; }

  // This many bytes without a meaning follow the elements of transforms from here on.
  void bytesBehindTransforms(std::size_t count) { behind_transforms_ = count; }
  // Row-major; only elements that differ from the identity are stored.
  void transform(std::int32_t id, const std::array<double, 16>& elements, std::uint8_t state = 8);
  void move(std::int32_t id, double x, double y, double z, std::uint8_t state = 8);
  struct Material {
    std::array<float, 4> diffuse{};
    float shininess = 10;
    std::uint8_t state = 8;
    std::uint32_t inhibited = 0;
    std::uint32_t final_fields = 0;  // 10.x
    std::uint16_t data_flags = 0;  // 8.x: bit 0 with bits 1, 2, 3: one number for ambient, emission, specular
    std::array<float, 4> ambient{0.1F, 0.1F, 0.1F, 1};
    std::array<float, 4> specular{0.2F, 0.25F, 0.2F, 1};
    std::array<float, 4> emission{0.3F, 0.3F, 0.3F, 1};
  };
  void material(std::int32_t id, const Material& material);

  // The data of the scene graph segment.
  [[nodiscard]] Bytes segment() const;
  // A whole file: the scene graph, stored plainly, and the segments of the shapes.
  [[nodiscard]] Bytes file() const;
  // The segment that a shape of triStrips is in.
  [[nodiscard]] GuidValue shapeSegment(std::int32_t id) const;
  // A segment of type 17, stored plainly.
  void exactGeometry(const GuidValue& segment, const Bytes& data) { lateSegment(segment, 17, data); }
  // A segment of a type that starts with a compression prefix, stored plainly.
  void lateSegment(const GuidValue& segment, std::uint32_t type, const Bytes& data) {
    late_[segment] = {type, data};
  }
  // A segment of such a type with any packed data (a zlib stream).
  void packedSegment(const GuidValue& segment, std::uint32_t type, const Bytes& packed) {
    late_[segment] = {type, packed};
    packed_.insert(segment);
  }
  // The scene graph is packed in the file (zlib).
  void pack() { packs_graph_ = true; }
  // The box that shape nodes state from here on; at first that of the tetrahedron of triStrips.
  void setShapeBox(const std::array<float, 6>& box) { shape_box_ = box; }
  // Replaces the geometry of all shapes that are added from here on.
  void setGeometry(Bytes element) { geometry_ = std::move(element); }

 private:
  struct Listed {
    std::int32_t id = 0;
    GuidValue kind;
    std::uint8_t base_type = 0;
    bool is_node = true;
    std::uint32_t flags = 0;
    Ids attributes;
    Bytes body;  // of nodes: what follows the base node
  };
  struct Property {
    std::string key;
    std::string text;
    GuidValue segment;
    std::int32_t segment_type = -1;  // -1: text, or a number where the kind says so
    GuidValue number_kind;
    Bytes number;
    std::uint32_t number_version = 1;
  };

  NodeSettings add(std::int32_t id, const GuidValue& kind, std::uint8_t base_type, const Bytes& body);
  void version(ByteBuilder& out, std::uint32_t number = 1) const;
  [[nodiscard]] Bytes groupBody(const Ids& children) const;
  [[nodiscard]] Bytes shapeBody(bool counts = true) const;
  void beginAttribute(ByteBuilder& out, std::uint8_t state, std::uint32_t inhibited,
                      std::uint32_t final_fields) const;
  void addAttribute(std::int32_t id, const GuidValue& kind, const Bytes& body);
  void writeElement(ByteBuilder& out, const Listed& element) const;
  void writeAtoms(ByteBuilder& atoms, ByteBuilder& table) const;

  std::string version_;
  int major_;
  ByteOrder order_;
  std::vector<Listed> elements_;
  std::map<std::int32_t, std::vector<Property>> properties_;
  std::map<std::int32_t, Bytes> shapes_;
  std::map<GuidValue, std::pair<std::uint32_t, Bytes>> late_;  // type and data
  Bytes geometry_;
  std::array<float, 6> shape_box_ = {0, 0, 0.5F, 3, 6, 9.5F};
  std::uint32_t base_attribute_version_ = 1;
  bool palette_index_ = false;
  std::size_t behind_transforms_ = 0;
  bool split_table_ = false;
  GuidValue rival_;
  std::set<GuidValue> packed_;
  bool packs_graph_ = false;
};

}  // namespace loftbay::maker::pieces
