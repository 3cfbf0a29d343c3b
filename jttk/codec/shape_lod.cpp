// A shape segment holds one logical element: I32 length, GUID, U8 base type, and from JT 9 on I32 object id.
// The GUID alone says what it is. What follows the representation (version numbers, the bindings once more,
// the end of the elements) is not used.
#include "jttk/codec/shape_lod.h"

#include <algorithm>
#include <new>
#include <optional>
#include <string>

#include "jttk/codec/primitives/primitive_meaning.h"
#include "jttk/codec/primitives/primitive_set.h"
#include "jttk/codec/stated_box.h"
#include "jttk/codec/v8/shape_lod.h"
#include "jttk/codec/v9/rep_data.h"
#include "jttk/file/object_ids.h"

namespace jttk {
namespace {

struct Element {
  Guid kind;
  ByteReader body;  // after GUID and base type
};

// A segment that states too small a size cuts its element off. What is missing then may be fields that are
// not read; otherwise reading them fails.
Result<Element> readElement(ByteReader& reader) {
  constexpr std::int32_t kSmallestElement = 17;  // GUID and base type
  const std::int32_t length = reader.i32("element length");
  if (length < kSmallestElement) reader.setFailed("element length", "is smaller than an element");
  if (!reader.ok()) return reader.unexpected();
  ByteReader body = reader.sub(std::min(static_cast<std::size_t>(length), reader.remaining()), "element");
  const Guid kind = body.guid("element type");
  body.skip(1, "element base type");
  if (!body.ok()) return body.unexpected();
  return Element{kind, body};
}

bool isPrimitiveSet(const Guid& kind) {
  return kind == object_id::kPrimitiveSet || kind == object_id::kPrimitiveSetNode;
}

bool isShape(const Guid& kind) {
  return kind == object_id::kTriStripSet || kind == object_id::kPolygonSet ||
         kind == object_id::kPolylineSet || kind == object_id::kPointSet || kind == object_id::kNullShape ||
         isPrimitiveSet(kind);
}

// The shape is usually the first element; others in front of it are skipped.
Result<Element> findShape(ByteReader& reader) {
  const std::uint64_t start = reader.offset();
  std::optional<Guid> other;
  for (;;) {
    auto element = readElement(reader);
    if (element && isShape(element->kind)) return element;
    if (!element && !other) return element;
    if (!element) return fail("elements of type " + other->text() + " are not known", start);
    if (!other) other = element->kind;
  }
}

const char* nameOf(const Guid& kind) {
  if (kind == object_id::kTriStripSet) return "tri-strip set";
  if (kind == object_id::kPolygonSet) return "polygon set";
  if (kind == object_id::kPolylineSet) return "polyline set";
  if (kind == object_id::kPointSet) return "point set";
  return "shape";
}

// JT 9: each base class of the element has an I16 version; all come before the representation.
void skipFrontMatter9(ByteReader& body) {
  body.skip(4, "object id");
  body.skip(2 * sizeof(std::int16_t), "element versions");
  body.skip(sizeof(std::uint64_t), "vertex bindings");
  body.skip(sizeof(std::int16_t), "element version");
  body.skip(sizeof(std::uint32_t), "vertex records id");
  body.skip(sizeof(std::int16_t), "element version");
}

// JT 10: versions are U8, and the representation is an element inside the element.
Result<ByteReader> openInnerElement10(ByteReader& body) {
  body.skip(4, "object id");
  body.skip(2 * sizeof(std::uint8_t), "element versions");
  body.skip(sizeof(std::uint64_t), "vertex bindings");
  if (!body.ok()) return body.unexpected();
  auto inner = readElement(body);
  if (!inner) return passOn(inner);
  inner->body.skip(4, "object id");
  inner->body.skip(sizeof(std::uint8_t), "element version");
  inner->body.skip(sizeof(std::uint32_t), "vertex records id");
  inner->body.skip(sizeof(std::uint8_t), "element version");
  return inner->body;
}

Result<ShapeGeometry> decodeRepData(ByteReader& reader, const Guid& kind, PacketForm form,
                                    const ShapeContext& context) {
  if (!reader.ok()) return reader.unexpected();
  if (kind == object_id::kPolylineSet)
    return decodeIndexedRepData(reader, form, PrimitiveKind::Polylines, context);
  if (kind == object_id::kPointSet) return decodeIndexedRepData(reader, form, PrimitiveKind::Points, context);
  return decodeTopologicalRepData(reader, form, context);
}

Result<ShapeGeometry> decodeSet(ByteReader body, const Guid& kind, Version version,
                                const ShapeContext& context) {
  if (version.major == 9) {
    skipFrontMatter9(body);
    return decodeRepData(body, kind, PacketForm::V9, context);
  }
  auto inner = openInnerElement10(body);
  if (!inner) return passOn(inner);
  return decodeRepData(*inner, kind, PacketForm::V10, context);
}

Result<ShapeGeometry> decodePrimitives(const ByteReader& body, Version version,
                                       std::span<const StatedExtent> stated) {
  const std::uint64_t offset = body.offset();
  const auto set = decodePrimitiveSet(body, version);
  auto mesh = set ? meshOfPrimitives(*set, stated, offset) : passOn(set);
  if (!mesh) return tl::unexpected<Error>(mesh.error().ofElement("primitive set"));
  return mesh;
}

// Coordinates without a checked hash should at least lie in the stated box.
void compareWithBox(ShapeGeometry& shape, std::span<const StatedExtent> stated, std::uint64_t offset) {
  const std::array<float, 6>* box = statedBox(stated);
  if (box == nullptr || shape.facts.coordinate_hash_checked || !shape.facts.coordinate_note.empty()) return;
  if (liesInBox(shape, *box)) return;
  shape.facts.coordinate_note =
      makeError("coordinates lie outside of the box that the node states", offset).text();
}

Result<ShapeGeometry> decodeLod(const Segment& segment, Version version, ByteOrder order,
                                const ShapeContext& context) {
  ByteReader reader(segment.data, order, segment.base_offset);
  const auto element = findShape(reader);
  if (!element) return tl::unexpected<Error>(element.error().ofElement("shape"));
  const Guid& kind = element->kind;
  if (kind == object_id::kNullShape) return ShapeGeometry{};
  if (isPrimitiveSet(kind)) return decodePrimitives(element->body, version, context.stated);
  const std::uint64_t offset = element->body.offset();
  // Errors of 8.x name the kind already.
  if (version.major < 9) {
    auto shape = decodeShapeLodV8(element->body, kind, context);
    if (shape) compareWithBox(*shape, context.stated, offset);
    return shape;
  }
  auto shape = decodeSet(element->body, kind, version, context);
  if (!shape) return tl::unexpected<Error>(shape.error().ofElement(nameOf(kind)));
  if (!shape->facts.doubt.empty()) shape->facts.doubt.insert(0, std::string(nameOf(kind)) + ": ");
  compareWithBox(*shape, context.stated, offset);
  return shape;
}

}  // namespace

Result<ShapeGeometry> decodeShapeLod(const Segment& segment, Version version, ByteOrder order,
                                     const ShapeContext& context) {
  try {
    auto shape = decodeLod(segment, version, order, context);
    if (!shape) return tl::unexpected<Error>(segment.named(shape.error()));
    return shape;
  } catch (const std::bad_alloc&) {
    return tl::unexpected<Error>(segment.named(makeError("out of memory", segment.base_offset)));
  }
}

}  // namespace jttk
