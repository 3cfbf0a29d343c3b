#include "jttk/interface/segments.h"

#include <algorithm>

#include "jttk/codec/shape_lod.h"
#include "jttk/file/elements.h"
#include "jttk/file/jt_file.h"
#include "jttk/file/object_ids.h"
#include "jttk/model/document.h"

namespace jttk {

namespace {

const char* nameOf(PrimitiveKind kind) {
  switch (kind) {
    case PrimitiveKind::TriangleStrips:
      return "triangle strips";
    case PrimitiveKind::Polygons:
      return "polygons";
    case PrimitiveKind::Polylines:
      return "polylines";
    case PrimitiveKind::Points:
      return "groups of points";
    case PrimitiveKind::Empty:
      return "nothing";
  }
  return "";
}

SegmentEntry describe(const TocEntry& entry) {
  return {entry.id.text(), segmentTypeName(entry.type), entry.offset, entry.length_bytes};
}

// A scene graph has two sequences of elements, then a table; others have one.
std::vector<ElementEntry> elementsOf(const Segment& segment, ByteOrder order) {
  constexpr std::int32_t kGuidBytes = 16;
  std::vector<ElementEntry> elements;
  ByteReader reader(segment.data, order);
  int sequences = segment.type == SegmentType::SceneGraph ? 2 : 1;
  while (sequences > 0 && reader.remaining() > 0) {
    const std::uint64_t offset = reader.offset();
    const std::int32_t length = reader.i32("element length");
    if (!reader.ok() || length < kGuidBytes || static_cast<std::size_t>(length) > reader.remaining()) break;
    ByteReader body = reader.sub(static_cast<std::size_t>(length), "element");
    const Guid id = body.guid("element type");
    const char* name = object_id::name(id);
    elements.push_back({offset, static_cast<std::size_t>(length) + 4, name != nullptr ? name : id.text()});
    if (id == object_id::kEndOfElements) --sequences;
  }
  return elements;
}

std::string yesOrNo(bool value) { return value ? "yes" : "no"; }

void addFacts(const ShapeGeometry& shape, SegmentContents& contents) {
  const ShapeFacts& facts = shape.facts;
  const auto add = [&](const char* what, std::string value) {
    contents.facts.emplace_back(what, std::move(value));
  };
  const auto count = [&](const char* what, std::size_t value) { add(what, std::to_string(value)); };
  add("primitives", std::to_string(shape.primitiveCount()) + " " + nameOf(shape.kind));
  count("corners", shape.corner_positions.size());
  count("positions", shape.positions.size() / 3);
  count("normals", shape.normals.size() / 3);
  count("colours", shape.colors.size() / 4);
  count("texture coordinates", shape.texture_coordinates.size() / 3);
  add("coordinates", facts.lossless ? "lossless" : std::to_string(facts.quantization_bits[0]) + " bits");
  count("connected components", facts.components);
  count("polygons that close holes", facts.covers);
  add("connectivity agrees with its hash", yesOrNo(facts.topology_hash_checked));
  add("coordinates agree with their hash", yesOrNo(facts.coordinate_hash_checked));
  if (!facts.doubt.empty()) add("doubt", facts.doubt);
  if (!facts.coordinate_note.empty()) add("odd coordinates", facts.coordinate_note);
  if (!facts.unread_attributes.empty()) add("attributes that are not read", facts.unread_attributes);
}

void decodeShape(const JtFile& file, const Segment& segment, SegmentContents& contents) {
  MemoryBudget memory;
  memory.setLimit(newBudget()->memoryLimit());
  const Result<ShapeGeometry> shape =
      decodeShapeLod(segment, file.version(), file.byteOrder(), {{}, &memory, true});
  if (shape) {
    addFacts(*shape, contents);
  } else {
    contents.failure = shape.error().textInSegment();
  }
}

Result<std::unique_ptr<JtFile>> open(const std::string& program_path) {
  auto file = JtFile::open(program_path);
  if (file) (*file)->setBudget(newBudget());
  return file;
}

bool beginsWith(const std::string& id, std::string_view beginning) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
  return beginning.size() <= id.size() &&
         std::equal(beginning.begin(), beginning.end(), id.begin(),
                    [&](char wanted, char have) { return lower(wanted) == have; });
}

}  // namespace

SegmentSearch findSegments(const std::string& program_path, std::string_view id) {
  SegmentSearch search;
  const auto file = open(program_path);
  if (!file) {
    search.failure = file.error().text();
    return search;
  }
  for (const TocEntry& entry : (*file)->contents()) {
    if (beginsWith(entry.id.text(), id)) search.found.push_back(describe(entry));
  }
  return search;
}

SegmentContents readSegment(const std::string& program_path, const SegmentEntry& wanted) {
  SegmentContents contents;
  contents.entry = wanted;
  const auto file = open(program_path);
  if (!file) {
    contents.failure = file.error().text();
    return contents;
  }
  const auto all = (*file)->contents();
  const auto entry =
      std::find_if(all.begin(), all.end(), [&](const TocEntry& each) { return each.id.text() == wanted.id; });
  if (entry == all.end()) {
    contents.failure = "the file has no such segment";
    return contents;
  }
  const Result<Segment> segment = (*file)->segment(*entry);
  if (!segment) {
    contents.failure = segment.error().text();
    return contents;
  }
  contents.compression = compressionName(segment->compression);
  contents.data.assign(segment->data.begin(), segment->data.end());
  contents.note = segment->note;
  contents.elements = elementsOf(*segment, (*file)->byteOrder());
  if (isShapeSegment(segment->type)) decodeShape(**file, *segment, contents);
  return contents;
}

}  // namespace jttk
