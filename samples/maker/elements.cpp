#include "samples/maker/elements.h"

#include <bit>

#include "samples/maker/guids.h"
#include "samples/maker/vertex_records.h"

namespace loftbay::maker {
namespace {

enum BaseType : unsigned {
  kNode = 0,
  kGroupNode = 1,
  kShapeNode = 2,
  kAttribute = 3,
  kAtom = 5,
  kLateLoaded = 8
};

constexpr unsigned kPersistable = 8;      // state flags of attributes
constexpr std::uint32_t kHiddenFlag = 1;  // of nodes
constexpr int kReservedOfParts = 99;

bool isLine(ShapeKind kind) { return kind == ShapeKind::Polylines; }
bool isPoint(ShapeKind kind) { return kind == ShapeKind::Points; }

}  // namespace

std::size_t beginElement(ByteWriter& out, const GuidValue& kind, unsigned base_type, std::int32_t id) {
  const std::size_t begin = out.size();
  out.i32(0);
  out.guid(kind);
  out.u8(base_type);
  out.i32(id);
  return begin;
}

void finishElement(ByteWriter& out, std::size_t begin) {
  out.patchI32(begin, static_cast<std::int64_t>(out.size() - begin - 4));
}

void endOfElements(ByteWriter& out) {
  out.i32(16);
  out.guid(guids::kEnd);
}

void ElementWriter::begin(const GuidValue& type, unsigned base_type, std::int32_t id) {
  length_at_ = beginElement(out_, type, base_type, id);
}

void ElementWriter::finish() { finishElement(out_, length_at_); }

void ElementWriter::end() { endOfElements(out_); }

void ElementWriter::version(int number, bool also_in_v8) {
  if (v10()) {
    out_.u8(static_cast<unsigned>(number));
  } else if (v9() || also_in_v8) {
    out_.i16(number);
  }
}

void ElementWriter::ids(const Ids& ids) {
  out_.i32(static_cast<std::int64_t>(ids.size()));
  for (const auto id : ids) out_.i32(id);
}

void ElementWriter::box(const Figures& figures) {
  for (const auto& p : {figures.min, figures.max}) {
    out_.f32(p.x);
    out_.f32(p.y);
    out_.f32(p.z);
  }
}

void ElementWriter::baseNode(const Ids& attributes, std::uint32_t flags) {
  version(1);
  out_.u32(flags);
  ids(attributes);
}

void ElementWriter::groupNode(const Ids& attributes, const Ids& children, std::uint32_t flags) {
  baseNode(attributes, flags);
  version(1);
  ids(children);
}

void ElementWriter::metaDataNode(const Ids& attributes, const Ids& children, std::uint32_t flags) {
  groupNode(attributes, children, flags);
  version(1, true);
}

void ElementWriter::partition(std::int32_t id, const Ids& attributes, const Ids& children,
                              std::string_view file_name, const Figures& figures,
                              const Figures& untransformed) {
  begin(guids::kPartition, kGroupNode, id);
  groupNode(attributes, children);
  if (v10()) out_.u8(1);
  out_.u32(1);
  out_.mbString(file_name);
  box(figures);
  out_.f32(static_cast<float>(figures.area));
  for (const auto most : {figures.vertices, figures.nodes, figures.polygons}) {
    out_.i32(0);
    out_.i32(static_cast<std::int64_t>(most));
  }
  if (!v10()) box(untransformed);
  finish();
}

void ElementWriter::group(std::int32_t id, const Ids& attributes, const Ids& children) {
  begin(guids::kGroup, kGroupNode, id);
  groupNode(attributes, children);
  finish();
}

void ElementWriter::metaData(std::int32_t id, const Ids& attributes, const Ids& children) {
  begin(guids::kMetaData, kGroupNode, id);
  metaDataNode(attributes, children);
  finish();
}

void ElementWriter::part(std::int32_t id, const Ids& attributes, const Ids& children, bool hidden) {
  begin(guids::kPart, kGroupNode, id);
  metaDataNode(attributes, children, hidden ? kHiddenFlag : 0);
  version(1, true);
  out_.i32(kReservedOfParts);
  finish();
}

void ElementWriter::instance(std::int32_t id, const Ids& attributes, std::int32_t child) {
  begin(guids::kInstance, kNode, id);
  baseNode(attributes);
  version(1);
  out_.i32(child);
  finish();
}

void ElementWriter::rangeLod(std::int32_t id, const Ids& attributes, const Ids& children,
                             const Figures& figures) {
  begin(guids::kRangeLod, kGroupNode, id);
  groupNode(attributes, children);
  version(1);
  if (!v10()) {
    out_.i32(0);  // reserved: an empty list, a number
    out_.i32(0);
  }
  version(1);
  out_.i32(0);  // no range limits
  out_.f32((figures.min.x + figures.max.x) / 2);
  out_.f32((figures.min.y + figures.max.y) / 2);
  out_.f32((figures.min.z + figures.max.z) / 2);
  finish();
}

void ElementWriter::baseShape(const Ids& attributes, const ShapeRecord& shape) {
  baseNode(attributes);
  version(1);
  if (!v10()) box(Figures());
  box(shape.figures);
  out_.f32(static_cast<float>(shape.figures.area));
  const auto range = [&](std::uint64_t value) {
    out_.i32(static_cast<std::int64_t>(value));
    out_.i32(static_cast<std::int64_t>(value));
  };
  range(shape.figures.vertices);
  range(1);
  range(shape.figures.polygons);
  out_.i32(static_cast<std::int64_t>(shape.figures.vertices * 24));
  out_.f32(options_.coordinate_bits == 0 ? 0.0F : 1.0F);
}

void ElementWriter::quantisation() { writeQuantisation(out_, options_); }

void ElementWriter::vertexShape(const Ids& attributes, const ShapeRecord& shape) {
  baseShape(attributes, shape);
  if (v8()) {
    out_.i32(shape.has_normals ? 1 : 0);
    out_.i32(shape.has_texture ? 1 : 0);
    out_.i32(shape.has_colors ? 1 : 0);
    quantisation();
    return;
  }
  // Lines and points of 9.5 repeat the bindings in their own collection instead.
  const bool own = isLine(shape.kind) || isPoint(shape.kind);
  const int number = options_.version == JtVersion::V9_5 && !own ? 2 : 1;
  version(number);
  out_.u64(shape.bindings);
  if (v10()) return;
  quantisation();
  if (number != 1) out_.u64(shape.bindings);
}

void ElementWriter::primitiveShape(const Ids& attributes, const ShapeRecord& shape) {
  baseShape(attributes, shape);
  version(1);
  out_.i32(0);  // no texture coordinates
  out_.i32(shape.has_colors ? 1 : 0);
  out_.u8(options_.coordinate_bits);
  out_.u8(options_.color_bits);
  out_.i32(0);  // how texture coordinates would be made
}

void ElementWriter::shape(std::int32_t id, const Ids& attributes, const ShapeRecord& shape) {
  switch (shape.kind) {
    case ShapeKind::Triangles:
      begin(guids::kTriStripSet, kShapeNode, id);
      break;
    case ShapeKind::Polygons:
      begin(guids::kPolygonSet, kShapeNode, id);
      break;
    case ShapeKind::Polylines:
      begin(guids::kPolylineSet, kShapeNode, id);
      break;
    case ShapeKind::Points:
      begin(guids::kPointSet, kShapeNode, id);
      break;
    case ShapeKind::Solids:
      begin(guids::kPrimitiveSet, kShapeNode, id);
      break;
  }
  if (shape.kind == ShapeKind::Solids) {
    primitiveShape(attributes, shape);
  } else if (v8() && isPoint(shape.kind)) {
    baseShape(attributes, shape);
  } else {
    vertexShape(attributes, shape);
  }
  if (isLine(shape.kind) || isPoint(shape.kind)) {
    const int number = options_.version == JtVersion::V9_5 ? 2 : 1;
    version(number);
    out_.f32(0);  // area factor
    if (v9() && number != 1) out_.u64(shape.bindings);
  }
  finish();
}

void ElementWriter::transform(std::int32_t id, const Matrix& matrix) {
  begin(guids::kTransform, kAttribute, id);
  version(1);
  out_.u8(kPersistable);
  out_.u32(0);
  if (v10()) out_.u32(0);
  version(1);
  // Bit 15 is element 0; elements that equal the identity's are left out.
  std::uint16_t mask = 0;
  for (std::size_t i = 0; i < 16; ++i) {
    if (std::bit_cast<std::uint64_t>(matrix[i] + 0.0) != std::bit_cast<std::uint64_t>(kIdentity[i])) {
      mask = static_cast<std::uint16_t>(mask | 0x8000U >> i);
    }
  }
  out_.u16(mask);
  const bool wide = v10() || options_.version == JtVersion::V9_5;
  for (std::size_t i = 0; i < 16; ++i) {
    if ((mask & 0x8000U >> i) == 0) continue;
    if (wide) {
      out_.f64(matrix[i]);
    } else {
      out_.f32(static_cast<float>(matrix[i]));
    }
  }
  finish();
}

void ElementWriter::rgba(const Rgba& color) {
  for (const auto value : color) out_.f32(value);
}

void ElementWriter::material(std::int32_t id, const Material& material) {
  begin(guids::kMaterial, kAttribute, id);
  version(1);
  out_.u8(kPersistable);
  out_.u32(0);
  if (v10()) out_.u32(0);
  version(options_.version == JtVersion::V9_5 ? 2 : 1);
  const bool blended = material.diffuse[3] < 1;
  out_.u16(blended ? 0x10 | 6 << 6 | 7 << 11 : 0);
  rgba(material.ambient);
  rgba(material.diffuse);
  rgba(material.specular);
  rgba(material.emission);
  out_.f32(material.shininess);
  if (v10() || options_.version == JtVersion::V9_5) out_.f32(0);  // reflectivity
  if (v10()) out_.f32(1);                                         // bumpiness
  finish();
}

void ElementWriter::stringAtom(std::int32_t id, std::string_view text) {
  begin(guids::kStringAtom, kAtom, id);
  version(v10() ? 2 : 1);
  out_.u32(0);
  version(v10() ? 2 : 1);
  out_.mbString(text);
  finish();
}

void ElementWriter::lateLoadedAtom(std::int32_t id, const GuidValue& segment, std::uint32_t segment_type,
                                   std::int32_t object_id) {
  begin(guids::kLateLoadedAtom, kLateLoaded, id);
  version(v10() ? 2 : 1);
  out_.u32(0);
  version(v10() ? 2 : 1);
  out_.guid(segment);
  out_.u32(segment_type);
  if (!v8()) out_.i32(object_id);
  if (v9()) out_.i32(1);
  finish();
}

}  // namespace loftbay::maker
