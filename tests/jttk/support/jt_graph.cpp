#include "tests/jttk/support/jt_graph.h"

#include "tests/jttk/support/jt_shapes.h"

namespace jttk::testing {

namespace {

constexpr Guid common(std::uint32_t first) {
  return {first, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
}
constexpr Guid kPart{0xce357244, 0x38fb, 0x11d1, {0xa5, 0x06, 0x00, 0x60, 0x97, 0xbd, 0xc6, 0xe1}};
constexpr Guid kMetaData{0xce357245, 0x38fb, 0x11d1, {0xa5, 0x06, 0x00, 0x60, 0x97, 0xbd, 0xc6, 0xe1}};
constexpr Guid kNullShape{0xd239e7b6, 0xdd77, 0x4289, {0xa0, 0x7d, 0xb0, 0xee, 0x79, 0xf7, 0x94, 0x94}};
constexpr Guid kLateLoaded{0xe0b05be5, 0xfbbd, 0x11d1, {0xa3, 0xa7, 0x00, 0xaa, 0x00, 0xd1, 0x09, 0x54}};
constexpr Guid kEnd{0xffffffff, 0xffff, 0xffff, {255, 255, 255, 255, 255, 255, 255, 255}};
constexpr Guid kSceneGraphId{0xabcdef01, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};
constexpr std::int32_t kFirstAtom = 1'000'000;  // atoms are numbered from here

}  // namespace

OrderedBytes& OrderedBytes::guid(const Guid& id) {
  u32(id.a).u16(id.b).u16(id.c);
  for (const std::uint8_t byte : id.d) u8(byte);
  return *this;
}

OrderedBytes& OrderedBytes::mbString(std::string_view ascii) {
  i32(static_cast<std::int32_t>(ascii.size()));
  for (const char c : ascii) u16(static_cast<unsigned char>(c));
  return *this;
}

OrderedBytes& OrderedBytes::put(std::uint64_t v, int count) {
  for (int i = 0; i < count; ++i) {
    const int byte = order_ == ByteOrder::Little ? i : count - 1 - i;
    bytes_.push_back(static_cast<std::byte>(v >> (8 * byte)));
  }
  return *this;
}

GraphBuilder::GraphBuilder(std::string version, ByteOrder order)
    : version_(std::move(version)), major_(std::stoi(version_)), order_(order) {
  ShapeOptions options;
  options.form = major_ >= 10 ? PacketForm::V10 : PacketForm::V9;
  options.bindings = 2;  // coordinates only
  if (major_ >= 9) {
    geometry_ =
        shapeElement(kTriStripSetId, options.form, topologicalRepData(tetrahedronSymbols(0), 4, 0, options));
  }
}

GraphBuilder::NodeSettings& GraphBuilder::NodeSettings::property(std::string_view key,
                                                                 std::string_view value) {
  graph_.properties_[id_].push_back({std::string(key), std::string(value), {}, -1});
  return *this;
}

GraphBuilder::NodeSettings& GraphBuilder::NodeSettings::lateLoaded(std::string_view key, const Guid& segment,
                                                                   std::int32_t type) {
  graph_.properties_[id_].push_back({std::string(key), {}, segment, type});
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
void GraphBuilder::version(OrderedBytes& out, std::uint32_t number) const {
  if (major_ == 9) out.u16(number);
  if (major_ >= 10) out.u8(number);
}

GraphBuilder::NodeSettings GraphBuilder::add(std::int32_t id, const Guid& kind, std::uint8_t base_type,
                                             const Bytes& body) {
  elements_.push_back({id, kind, base_type, true, 0, {}, body});
  return {*this, id};
}

GraphBuilder::NodeSettings GraphBuilder::element(std::int32_t id, const Guid& kind, Bytes body) {
  elements_.push_back({id, kind, 0, false, 0, {}, std::move(body)});
  return {*this, id};
}

Bytes GraphBuilder::groupBody(const Ids& children) const {
  OrderedBytes out(order_);
  version(out);
  out.i32(static_cast<std::int32_t>(children.size()));
  for (const std::int32_t child : children) out.i32(child);
  return out.result();
}

GraphBuilder::NodeSettings GraphBuilder::partition(std::int32_t id, Ids children, std::string file_name) {
  OrderedBytes out(order_);
  out.bytes(groupBody(children));
  if (major_ >= 10) out.u8(1);
  out.u32(0).mbString(file_name);
  for (int i = 0; i < 6; ++i) out.f32(static_cast<float>(i));  // box
  out.f32(2.5F);                                               // area
  for (const std::int32_t count : {1, 2, 3, 4, 5, 6}) out.i32(count);
  return add(id, common(0x10dd103e), 1, out.result());
}

GraphBuilder::NodeSettings GraphBuilder::metaData(std::int32_t id, Ids children) {
  OrderedBytes out(order_);
  out.bytes(groupBody(children));
  major_ >= 10 ? out.u8(1) : out.u16(1);
  return add(id, kMetaData, 1, out.result());
}

GraphBuilder::NodeSettings GraphBuilder::part(std::int32_t id, Ids children) {
  OrderedBytes out(order_);
  out.bytes(groupBody(children));
  for (int i = 0; i < 2; ++i) major_ >= 10 ? out.u8(1) : out.u16(1);
  out.i32(99);
  return add(id, kPart, 1, out.result());
}

GraphBuilder::NodeSettings GraphBuilder::instance(std::int32_t id, std::int32_t child) {
  OrderedBytes out(order_);
  version(out);
  return add(id, common(0x10dd102a), 0, out.i32(child).result());
}

GraphBuilder::NodeSettings GraphBuilder::group(std::int32_t id, Ids children) {
  return add(id, common(0x10dd101b), 1, groupBody(children));
}

GraphBuilder::NodeSettings GraphBuilder::lod(std::int32_t id, Ids children) {
  OrderedBytes out(order_);
  out.bytes(groupBody(children));
  version(out);
  if (major_ < 10) out.i32(0).i32(0);  // reserved
  return add(id, common(0x10dd102c), 1, out.result());
}

GraphBuilder::NodeSettings GraphBuilder::rangeLod(std::int32_t id, Ids children) {
  OrderedBytes out(order_);
  out.bytes(groupBody(children));
  version(out);
  if (major_ < 10) out.i32(0).i32(0);
  version(out);
  out.i32(0).f32(0).f32(0).f32(0);  // no limits, centre
  return add(id, common(0x10dd104c), 1, out.result());
}

GraphBuilder::NodeSettings GraphBuilder::switchNode(std::int32_t id, Ids children, std::int32_t selected) {
  OrderedBytes out(order_);
  out.bytes(groupBody(children));
  version(out);
  return add(id, common(0x10dd10f3), 1, out.i32(selected).result());
}

Bytes GraphBuilder::shapeBody(bool counts) const {
  OrderedBytes out(order_);
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
  return add(id, common(0x10dd1077), 2, shapeBody());
}

GraphBuilder::NodeSettings GraphBuilder::triStripsOfNothing(std::int32_t id) {
  return add(id, common(0x10dd1077), 2, shapeBody(false));
}

GraphBuilder::NodeSettings GraphBuilder::unknownGroup(std::int32_t id, const Guid& kind, Ids children) {
  return add(id, kind, 1, groupBody(children));
}

GraphBuilder::NodeSettings GraphBuilder::unknownShape(std::int32_t id, const Guid& kind) {
  return add(id, kind, 2, shapeBody());
}

GraphBuilder::NodeSettings GraphBuilder::triStrips(std::int32_t id) {
  shapes_[id] = geometry_;
  NodeSettings settings = emptyTriStrips(id);
  settings.lateLoaded("JT_LLPROP_SHAPEIMPL", shapeSegment(id), 7);
  return settings;
}

GraphBuilder::NodeSettings GraphBuilder::shapeNode(std::int32_t id, const Guid& kind, const Bytes& tail,
                                                   const Bytes& geometry) {
  shapes_[id] = geometry;
  NodeSettings settings = add(id, kind, 2, OrderedBytes(order_).bytes(shapeBody()).bytes(tail).result());
  settings.lateLoaded("JT_LLPROP_SHAPEIMPL", shapeSegment(id), 7);
  return settings;
}

GraphBuilder::NodeSettings GraphBuilder::nullShape(std::int32_t id) {
  return add(id, kNullShape, 2, shapeBody());
}

Guid GraphBuilder::shapeSegment(std::int32_t id) const {
  return {0x5e600000U + static_cast<std::uint32_t>(id), 7, 7, {1, 2, 3, 4, 5, 6, 7, 8}};
}

void GraphBuilder::beginAttribute(OrderedBytes& out, std::uint8_t state, std::uint32_t inhibited,
                                  std::uint32_t final_fields) const {
  version(out, major_ >= 10 ? base_attribute_version_ : 1);
  out.u8(state).u32(inhibited);
  if (major_ >= 10) out.u32(final_fields);
  if (palette_index_) out.i32(-1);
}

void GraphBuilder::addAttribute(std::int32_t id, const Guid& kind, const Bytes& body) {
  elements_.push_back({id, kind, 3, false, 0, {}, body});
}

void GraphBuilder::transform(std::int32_t id, const std::array<double, 16>& elements, std::uint8_t state) {
  OrderedBytes out(order_);
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
  addAttribute(id, common(0x10dd1083), out.result());
}

void GraphBuilder::move(std::int32_t id, double x, double y, double z, std::uint8_t state) {
  transform(id, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1}, state);
}

void GraphBuilder::material(std::int32_t id, const Material& material) {
  OrderedBytes out(order_);
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
  addAttribute(id, common(0x10dd1030), out.result());
}

void GraphBuilder::writeElement(OrderedBytes& out, const Listed& element) const {
  OrderedBytes body(order_);
  body.guid(element.kind).u8(element.base_type).i32(element.id);
  if (element.is_node) {
    version(body);
    body.u32(element.flags).i32(static_cast<std::int32_t>(element.attributes.size()));
    for (const std::int32_t id : element.attributes) body.i32(id);
  }
  body.bytes(element.body);
  out.i32(static_cast<std::int32_t>(body.result().size())).bytes(body.result());
}

void GraphBuilder::endOfElements(OrderedBytes& out) const { out.i32(16).guid(kEnd); }

void GraphBuilder::writeAtoms(OrderedBytes& atoms, OrderedBytes& table) const {
  std::int32_t next = kFirstAtom;
  const auto addAtom = [&](const Guid& kind, const Bytes& value) {
    OrderedBytes body(order_);
    version(body);
    body.u32(0);
    version(body);
    writeElement(atoms, {next, kind, 5, false, 0, {}, body.bytes(value).result()});
    return next++;
  };
  const auto addText = [&](std::string_view text) {
    return addAtom(common(0x10dd106e), OrderedBytes(order_).mbString(text).result());
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
        table.i32(addText(property.text));
        continue;
      }
      OrderedBytes value(order_);
      value.guid(property.segment).i32(property.segment_type);
      if (major_ >= 9) value.i32(1);
      if (major_ == 9) value.i32(1);
      table.i32(addAtom(kLateLoaded, value.result()));
      if (rival_ == Guid{}) continue;
      --next;
      OrderedBytes other(order_);
      other.guid(rival_).i32(property.segment_type).i32(1).i32(1);
      addAtom(kLateLoaded, other.result());
    }
    table.i32(0);
  }
}

Bytes GraphBuilder::segment() const {
  OrderedBytes out(order_);
  for (const Listed& element : elements_) writeElement(out, element);
  endOfElements(out);
  OrderedBytes atoms(order_);
  OrderedBytes table(order_);
  writeAtoms(atoms, table);
  out.bytes(atoms.result());
  endOfElements(out);
  return out.bytes(table.result()).result();
}

Bytes GraphBuilder::file() const {
  struct Entry {
    Guid id;
    std::uint32_t type;
    Bytes data;
  };
  const auto prefixed = [&](bool packed, const Bytes& data) {
    OrderedBytes out(order_);
    out.u32(packed ? 2 : 0).u32(data.size() + 1).u8(packed ? 2 : 1).bytes(data);
    return out.result();
  };
  const Bytes graph = packs_graph_ ? zlibOf(segment()) : segment();
  std::vector<Entry> entries{{kSceneGraphId, 1, prefixed(packs_graph_, graph)}};
  for (const auto& [id, late] : late_) {
    entries.push_back({id, late.first, prefixed(packed_.contains(id), late.second)});
  }
  for (const auto& [id, data] : shapes_) entries.push_back({shapeSegment(id), 7, data});

  const bool wide = major_ >= 10;
  std::string text = "Version " + version_ + " JT";
  text.resize(79, ' ');
  OrderedBytes out(order_);
  for (const char c : text + "\n") out.u8(static_cast<unsigned char>(c));
  out.u8(order_ == ByteOrder::Big ? 1 : 0).u32(0);
  std::uint64_t at = 80 + 1 + 4 + (wide ? 8 : 4) + 16;
  wide ? out.u64(at) : out.u32(at);
  out.guid(kSceneGraphId).u32(entries.size());
  at += 4 + entries.size() * (wide ? 32 : 28);
  for (const Entry& entry : entries) {
    out.guid(entry.id);
    wide ? out.u64(at) : out.u32(at);
    out.u32(entry.data.size() + 24).u32(entry.type << 24U);
    at += entry.data.size() + 24;
  }
  for (const Entry& entry : entries) {
    out.guid(entry.id).u32(entry.type).u32(entry.data.size() + 24).bytes(entry.data);
  }
  return out.result();
}

}  // namespace jttk::testing
