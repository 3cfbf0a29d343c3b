#include "samples/maker/pieces/graph_builder.h"

#include "samples/maker/guids.h"
#include "samples/maker/pieces/container.h"
#include "samples/maker/pieces/shapes.h"

namespace loftbay::maker::pieces {

namespace {

constexpr GuidValue kLod = guids::classic(0x10dd102c);
constexpr GuidValue kSwitch = guids::classic(0x10dd10f3);
constexpr GuidValue kNullShape{0xd239e7b6, 0xdd77, 0x4289, {0xa0, 0x7d, 0xb0, 0xee, 0x79, 0xf7, 0x94, 0x94}};
constexpr GuidValue kSceneGraphId{0xabcdef01, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};
constexpr std::int32_t kFirstAtom = 1'000'000;  // atoms are numbered from here

}  // namespace

GraphBuilder::GraphBuilder(std::string version, ByteOrder order)
    : version_(std::move(version)), major_(std::stoi(version_)), order_(order) {
  ShapeOptions options;
  options.form = major_ >= 10 ? PacketForm::V10 : PacketForm::V9;
  options.bindings = 2;  // coordinates only
  if (major_ >= 9) {
    geometry_ = shapeElement(guids::kTriStripLod, options.form,
                             topologicalRepData(tetrahedronSymbols(0), 4, 0, options));
  }
}

GraphBuilder::NodeSettings& GraphBuilder::NodeSettings::property(std::string_view key,
                                                                 std::string_view value) {
  graph_.properties_[id_].push_back({std::string(key), std::string(value), {}, -1, {}, {}, 1});
  return *this;
}

GraphBuilder::NodeSettings& GraphBuilder::NodeSettings::number(std::string_view key,
                                                               const PropertyValue& value) {
  constexpr GuidValue kKinds[] = {guids::kStringAtom, guids::kIntegerAtom, guids::kFloatAtom,
                                  guids::kDateAtom};
  graph_.properties_[id_].push_back(
      {std::string(key), {}, {}, -1, kKinds[value.index()], numberBytes(graph_.order_, value), 1});
  return *this;
}

GraphBuilder::NodeSettings& GraphBuilder::NodeSettings::zonedDate(std::string_view key, const Date& date,
                                                                  float hours_ahead) {
  Bytes bytes = ByteBuilder(graph_.order_).bytes(numberBytes(graph_.order_, date)).f32(hours_ahead).result();
  graph_.properties_[id_].push_back({std::string(key), {}, {}, -1, guids::kDateAtom, std::move(bytes), 3});
  return *this;
}

GraphBuilder::NodeSettings& GraphBuilder::NodeSettings::metaData(
    const GuidValue& segment, const std::vector<MetaDataProperty>& properties) {
  constexpr std::int32_t kMetaDataSegment = 4;
  graph_.lateSegment(segment, kMetaDataSegment, metaDataSegment(graph_.major_, graph_.order_, properties));
  return lateLoaded("JT_LLPROP_METADATA", segment, kMetaDataSegment);
}

GraphBuilder::NodeSettings& GraphBuilder::NodeSettings::lateLoaded(std::string_view key,
                                                                   const GuidValue& segment,
                                                                   std::int32_t type) {
  graph_.properties_[id_].push_back({std::string(key), {}, segment, type, {}, {}, 1});
  return *this;
}

GraphBuilder::NodeSettings& GraphBuilder::NodeSettings::attributes(Ids ids) {
  graph_.elements_.back().attributes = std::move(ids);
  return *this;
}

GraphBuilder::NodeSettings& GraphBuilder::NodeSettings::flags(std::uint32_t flags) {
  graph_.elements_.back().flags = flags;
  return *this;
}

// Nothing in 8.x, I16 in 9.x, U8 in 10.x.
void GraphBuilder::version(ByteBuilder& out, std::uint32_t number) const {
  if (major_ == 9) out.u16(number);
  if (major_ >= 10) out.u8(number);
}

GraphBuilder::NodeSettings GraphBuilder::add(std::int32_t id, const GuidValue& kind, std::uint8_t base_type,
                                             const Bytes& body) {
  elements_.push_back({id, kind, base_type, true, 0, {}, body});
  return {*this, id};
}

GraphBuilder::NodeSettings GraphBuilder::element(std::int32_t id, const GuidValue& kind, Bytes body) {
  elements_.push_back({id, kind, 0, false, 0, {}, std::move(body)});
  return {*this, id};
}

Bytes GraphBuilder::groupBody(const Ids& children) const {
  ByteBuilder out(order_);
  version(out);
  out.i32(static_cast<std::int32_t>(children.size()));
  for (const std::int32_t child : children) out.i32(child);
  return out.result();
}

GraphBuilder::NodeSettings GraphBuilder::partition(std::int32_t id, Ids children, std::string file_name) {
  ByteBuilder out(order_);
  out.bytes(groupBody(children));
  if (major_ >= 10) out.u8(1);
  out.u32(0).mbString(file_name);
  for (int i = 0; i < 6; ++i) out.f32(static_cast<float>(i));  // box
  out.f32(2.5F);                                               // area
  for (const std::int32_t count : {1, 2, 3, 4, 5, 6}) out.i32(count);
  return add(id, guids::kPartition, 1, out.result());
}

GraphBuilder::NodeSettings GraphBuilder::metaData(std::int32_t id, Ids children) {
  ByteBuilder out(order_);
  out.bytes(groupBody(children));
  major_ >= 10 ? out.u8(1) : out.u16(1);
  return add(id, guids::kMetaData, 1, out.result());
}

GraphBuilder::NodeSettings GraphBuilder::part(std::int32_t id, Ids children) {
  ByteBuilder out(order_);
  out.bytes(groupBody(children));
  for (int i = 0; i < 2; ++i) major_ >= 10 ? out.u8(1) : out.u16(1);
  out.i32(99);
  return add(id, guids::kPart, 1, out.result());
}

GraphBuilder::NodeSettings GraphBuilder::instance(std::int32_t id, std::int32_t child) {
  ByteBuilder out(order_);
  version(out);
  return add(id, guids::kInstance, 0, out.i32(child).result());
}

GraphBuilder::NodeSettings GraphBuilder::group(std::int32_t id, Ids children) {
  return add(id, guids::kGroup, 1, groupBody(children));
}

GraphBuilder::NodeSettings GraphBuilder::lod(std::int32_t id, Ids children) {
  ByteBuilder out(order_);
  out.bytes(groupBody(children));
  version(out);
  if (major_ < 10) out.i32(0).i32(0);  // reserved
  return add(id, kLod, 1, out.result());
}

GraphBuilder::NodeSettings GraphBuilder::rangeLod(std::int32_t id, Ids children) {
  ByteBuilder out(order_);
  out.bytes(groupBody(children));
  version(out);
  if (major_ < 10) out.i32(0).i32(0);
  version(out);
  out.i32(0).f32(0).f32(0).f32(0);  // no limits, centre
  return add(id, guids::kRangeLod, 1, out.result());
}

GraphBuilder::NodeSettings GraphBuilder::switchNode(std::int32_t id, Ids children, std::int32_t selected) {
  ByteBuilder out(order_);
  out.bytes(groupBody(children));
  version(out);
  return add(id, kSwitch, 1, out.i32(selected).result());
}

Bytes GraphBuilder::shapeBody(bool counts) const {
  ByteBuilder out(order_);
  version(out);
  if (major_ < 10) {
    for (int i = 0; i < 6; ++i) out.f32(0);  // reserved box
  }
  for (const float side : shape_box_) out.f32(side);
  out.f32(1.5F);  // area
  for (const std::int32_t count : {1, 2, 3, 4, 5, 6}) out.i32(counts ? count : 0);
  out.i32(0).f32(1);
  return out.result();
}

GraphBuilder::NodeSettings GraphBuilder::emptyTriStrips(std::int32_t id) {
  return add(id, guids::kTriStripSet, 2, shapeBody());
}

GraphBuilder::NodeSettings GraphBuilder::triStripsOfNothing(std::int32_t id) {
  return add(id, guids::kTriStripSet, 2, shapeBody(false));
}

GraphBuilder::NodeSettings GraphBuilder::unknownGroup(std::int32_t id, const GuidValue& kind, Ids children) {
  return add(id, kind, 1, groupBody(children));
}

GraphBuilder::NodeSettings GraphBuilder::unknownShape(std::int32_t id, const GuidValue& kind) {
  return add(id, kind, 2, shapeBody());
}

GraphBuilder::NodeSettings GraphBuilder::triStrips(std::int32_t id) {
  shapes_[id] = geometry_;
  NodeSettings settings = emptyTriStrips(id);
  settings.lateLoaded("JT_LLPROP_SHAPEIMPL", shapeSegment(id), 7);
  return settings;
}

GraphBuilder::NodeSettings GraphBuilder::shapeNode(std::int32_t id, const GuidValue& kind, const Bytes& tail,
                                                   const Bytes& geometry) {
  shapes_[id] = geometry;
  NodeSettings settings = add(id, kind, 2, ByteBuilder(order_).bytes(shapeBody()).bytes(tail).result());
  settings.lateLoaded("JT_LLPROP_SHAPEIMPL", shapeSegment(id), 7);
  return settings;
}

GraphBuilder::NodeSettings GraphBuilder::nullShape(std::int32_t id) {
  return add(id, kNullShape, 2, shapeBody());
}

GuidValue GraphBuilder::shapeSegment(std::int32_t id) const {
  return {0x5e600000U + static_cast<std::uint32_t>(id), 7, 7, {1, 2, 3, 4, 5, 6, 7, 8}};
}

void GraphBuilder::beginAttribute(ByteBuilder& out, std::uint8_t state, std::uint32_t inhibited,
                                  std::uint32_t final_fields) const {
  version(out, major_ >= 10 ? base_attribute_version_ : 1);
  out.u8(state).u32(inhibited);
  if (major_ >= 10) out.u32(final_fields);
  if (palette_index_) out.i32(-1);
}

void GraphBuilder::addAttribute(std::int32_t id, const GuidValue& kind, const Bytes& body) {
  elements_.push_back({id, kind, 3, false, 0, {}, body});
}

void GraphBuilder::transform(std::int32_t id, const std::array<double, 16>& elements, std::uint8_t state) {
  ByteBuilder out(order_);
  beginAttribute(out, state, 0, 0);
  version(out);
  std::uint32_t mask = 0;
  for (std::uint32_t i = 0; i < 16; ++i) {
    if (elements[i] != (i % 5 == 0 ? 1.0 : 0.0)) mask |= 1U << (15 - i);
  }
  out.u16(mask);
  for (std::uint32_t i = 0; i < 16; ++i) {
    if ((mask >> (15 - i) & 1U) == 0) continue;
    major_ < 9 ? out.f32(static_cast<float>(elements[i])) : out.f64(elements[i]);
  }
  for (std::size_t i = 0; i < behind_transforms_; ++i) out.u8(0);
  addAttribute(id, guids::kTransform, out.result());
}

void GraphBuilder::move(std::int32_t id, double x, double y, double z, std::uint8_t state) {
  transform(id, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1}, state);
}

void GraphBuilder::material(std::int32_t id, const Material& material) {
  ByteBuilder out(order_);
  beginAttribute(out, material.state, material.inhibited, material.final_fields);
  version(out, major_ >= 9 ? 2 : 1);
  out.u16(material.data_flags);
  const auto color = [&](std::uint16_t bit, const std::array<float, 4>& rgba) {
    if (major_ < 9 && (material.data_flags & 1U) != 0 && (material.data_flags & bit) != 0) {
      out.f32(rgba[0]);
      return;
    }
    for (const float value : rgba) out.f32(value);
  };
  color(2, material.ambient);
  color(0, material.diffuse);
  color(8, material.specular);
  color(4, material.emission);
  out.f32(material.shininess);
  if (major_ >= 9) out.f32(0);
  if (major_ >= 10) out.f32(0);
  addAttribute(id, guids::kMaterial, out.result());
}

void GraphBuilder::writeElement(ByteBuilder& out, const Listed& element) const {
  const std::size_t begin = beginElement(out.writer(), element.kind, element.base_type, element.id);
  if (element.is_node) {
    version(out);
    out.u32(element.flags).i32(static_cast<std::int64_t>(element.attributes.size()));
    for (const std::int32_t id : element.attributes) out.i32(id);
  }
  out.bytes(element.body);
  finishElement(out.writer(), begin);
}

void GraphBuilder::writeAtoms(ByteBuilder& atoms, ByteBuilder& table) const {
  std::int32_t next = kFirstAtom;
  const auto addAtom = [&](const GuidValue& kind, const Bytes& value, std::uint32_t value_version = 1) {
    ByteBuilder body(order_);
    version(body);
    body.u32(0);
    version(body, value_version);
    writeElement(atoms, {next, kind, 5, false, 0, {}, body.bytes(value).result()});
    return next++;
  };
  const auto addText = [&](std::string_view text) {
    return addAtom(guids::kStringAtom, ByteBuilder(order_).mbString(text).result());
  };
  std::size_t entries = properties_.size();
  if (split_table_) {
    entries = 0;
    for (const auto& [node, properties] : properties_) entries += properties.size();
  }
  table.u16(1).i32(static_cast<std::int32_t>(entries));
  for (const auto& [node, properties] : properties_) {
    table.i32(node);
    for (const Property& property : properties) {
      if (split_table_ && &property != &properties.front()) table.i32(0).i32(node);
      table.i32(addText(property.key));
      if (property.segment_type < 0) {
        table.i32(property.number.empty()
                      ? addText(property.text)
                      : addAtom(property.number_kind, property.number, property.number_version));
        continue;
      }
      ByteBuilder value(order_);
      value.guid(property.segment).i32(property.segment_type);
      if (major_ >= 9) value.i32(1);
      if (major_ == 9) value.i32(1);
      table.i32(addAtom(guids::kLateLoadedAtom, value.result()));
      if (rival_ == GuidValue{}) continue;
      --next;
      ByteBuilder other(order_);
      other.guid(rival_).i32(property.segment_type).i32(1).i32(1);
      addAtom(guids::kLateLoadedAtom, other.result());
    }
    table.i32(0);
  }
}

Bytes GraphBuilder::segment() const {
  ByteBuilder out(order_);
  for (const Listed& element : elements_) writeElement(out, element);
  endOfElements(out.writer());
  ByteBuilder atoms(order_);
  ByteBuilder table(order_);
  writeAtoms(atoms, table);
  out.bytes(atoms);
  endOfElements(out.writer());
  return out.bytes(table).result();
}

Bytes GraphBuilder::file() const {
  const auto prefixed = [&](bool packed, const Bytes& data) {
    ByteBuilder out(order_);
    out.u32(packed ? 2 : 0).u32(data.size() + 1).u8(packed ? 2 : 1).bytes(data);
    return out.result();
  };
  const Bytes graph = packs_graph_ ? zlibOf(segment()) : segment();
  std::vector<ContainerSegment> segments{{kSceneGraphId, 1, prefixed(packs_graph_, graph)}};
  for (const auto& [id, late] : late_) {
    segments.push_back({id, late.first, prefixed(packed_.contains(id), late.second)});
  }
  for (const auto& [id, data] : shapes_) segments.push_back({shapeSegment(id), 7, data});
  return container(version_, segments, order_);
}

}  // namespace loftbay::maker::pieces
