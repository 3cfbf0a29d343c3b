// Atom: v, U32 state flags, then by kind; a string atom: v, text; an integer: v, I32; a float: v, F32; a
// date: v, six I16, and where v is 3 or more F32 hours ahead of UTC; a late loaded one: v, GUID of the
// segment, I32 segment type. Table: I16 version, I32 number of nodes; per node its id, then pairs of key and
// value atom ids up to a key of 0. Atoms are shared between nodes.
#include "jttk/graph/properties.h"

#include <algorithm>

#include "jttk/file/object_ids.h"
#include "jttk/graph/property_text.h"

namespace jttk {

namespace {

bool isNumber(const Guid& kind) {
  return kind == object_id::kIntegerAtom || kind == object_id::kFloatAtom || kind == object_id::kDateAtom;
}

std::string readNumber(const Guid& kind, int value_version, ByteReader& body) {
  if (kind == object_id::kIntegerAtom) return std::to_string(body.i32("number"));
  if (kind == object_id::kFloatAtom) return numberText(body.f32("number"));
  StoredDate date{};
  for (std::int16_t& field : date) field = body.i16("date");
  if (value_version < 3) return dateText(date);
  return dateText(date, body.f32("hours ahead of UTC"));
}

void readAtom(Element& element, Version version, SceneGraph& graph, Atom& atom) {
  ByteReader& body = element.body;
  readVersion(body, version);
  body.skip(4, "atom state");
  const int value_version = readVersion(body, version);
  const bool is_number = isNumber(element.kind);
  if (is_number || element.kind == object_id::kStringAtom) {
    std::string text = is_number ? readNumber(element.kind, value_version, body) : body.mbString("text");
    if (!body.ok()) return;
    atom.kind = is_number ? Atom::Kind::Number : Atom::Kind::Text;
    atom.text = static_cast<std::uint32_t>(graph.strings.size());
    graph.strings.push_back(std::move(text));
  } else {
    atom.segment = body.guid("segment id");
    atom.segment_type = body.i32("segment type");
    if (body.ok()) atom.kind = Atom::Kind::Segment;
  }
}

bool sayTheSame(const Atom& a, const Atom& b, const SceneGraph& graph) {
  return a.kind == b.kind && graph.text(a.text) == graph.text(b.text) && a.segment == b.segment;
}

// Of atoms with the same id the first holds. If they name different segments, nodes that use them are
// reported later; other differences only affect properties.
void reconcile(std::vector<Atom>& atoms, SceneGraph& graph) {
  constexpr std::size_t kMostListed = 5;
  std::size_t count = 0;
  std::string ids;
  for (std::size_t first = 0, i = 1; i < atoms.size(); ++i) {
    if (atoms[i].id != atoms[first].id) {
      first = i;
      continue;
    }
    if (!sayTheSame(atoms[first], atoms[i], graph)) atoms[first].rival = atoms[i].segment;
    if (++count <= kMostListed) ids += (count == 1 ? "" : ", ") + std::to_string(atoms[i].id);
  }
  if (count == 0) return;
  graph.notes.push_back(std::to_string(count) + (count == 1 ? " property atom has" : " property atoms have") +
                        " the id of another one; the first of each id holds: " + ids +
                        (count > kMostListed ? ", …" : ""));
}

// Whether losing the segment for another would cost geometry.
bool mayBeGeometry(const Atom& atom) {
  const auto type = static_cast<SegmentType>(atom.segment_type);
  return type != SegmentType::Pmi && type != SegmentType::MetaData;
}

const Atom* findAtom(const std::vector<Atom>& atoms, std::int32_t id) {
  const auto found = std::lower_bound(atoms.begin(), atoms.end(), id,
                                      [](const Atom& atom, std::int32_t wanted) { return atom.id < wanted; });
  return found != atoms.end() && found->id == id ? &*found : nullptr;
}

void hang(Node& node, const Atom& key, const Atom& value, SceneGraph& graph) {
  if (key.kind != Atom::Kind::Text || value.kind == Atom::Kind::Other) return;
  if (value.kind == Atom::Kind::Segment) {
    graph.late_loaded.push_back({key.text, value.segment, value.segment_type});
    return;
  }
  if (value.kind == Atom::Kind::Text) {
    const std::string& name = graph.strings[key.text];
    if (name == kNameKey) node.name = value.text;
    if (name == kUnitsKey) node.units = value.text;
  }
  graph.properties.push_back({key.text, value.text});
}

// A node that is listed twice keeps its earlier entries: they are copied to the end of the arrays, so that
// its ranges stay contiguous. `budget`: how many entries may be copied in all.
void keepEarlier(const Node& node, std::size_t& budget, SceneGraph& graph) {
  const std::size_t entries = std::size_t{node.properties.count} + node.late_loaded.count;
  if (entries > budget) return;
  budget -= entries;
  for (std::uint32_t i = 0; i < node.properties.count; ++i) {
    graph.properties.push_back(Property(graph.properties[node.properties.first + i]));
  }
  for (std::uint32_t i = 0; i < node.late_loaded.count; ++i) {
    graph.late_loaded.push_back(LateLoaded(graph.late_loaded[node.late_loaded.first + i]));
  }
}

std::uint32_t findNode(const std::vector<std::pair<std::int32_t, std::uint32_t>>& node_by_id,
                       std::int32_t id) {
  const auto found = std::lower_bound(node_by_id.begin(), node_by_id.end(), std::pair{id, 0U});
  return found != node_by_id.end() && found->first == id ? found->second : kNone;
}

}  // namespace

std::vector<Atom> readAtoms(ByteReader& reader, Version version, SceneGraph& graph) {
  std::vector<Atom> atoms;
  ElementReader elements(reader);
  Element element;
  std::size_t unread_numbers = 0;
  while (elements.next(element)) {
    Atom atom;
    atom.id = element.id;
    if (isNumber(element.kind)) {
      readAtom(element, version, graph, atom);
      if (!element.body.ok()) ++unread_numbers;
    } else if (element.kind == object_id::kStringAtom || element.kind == object_id::kLateLoadedAtom) {
      readAtom(element, version, graph, atom);
      if (!element.body.ok()) graph.addDamage(kNone, element.body.error().ofElement("property"));
    }
    atoms.push_back(atom);
  }
  if (unread_numbers > 0) {
    graph.notes.push_back(std::to_string(unread_numbers) +
                          (unread_numbers == 1 ? " property that is a number or date cannot be read"
                                               : " properties that are numbers or dates cannot be read"));
  }
  if (!reader.ok()) graph.addDamage(kNone, reader.error().in("properties"));
  std::stable_sort(atoms.begin(), atoms.end(), [](const Atom& a, const Atom& b) { return a.id < b.id; });
  reconcile(atoms, graph);
  return atoms;
}

void readPropertyTable(ByteReader& reader, const std::vector<Atom>& atoms,
                       const std::vector<std::pair<std::int32_t, std::uint32_t>>& node_by_id,
                       SceneGraph& graph) {
  reader.skip(2, "property table version");
  std::size_t budget = reader.remaining() / 8;  // as many as the table can hold
  const std::uint32_t count = reader.count("property table", 8);
  for (std::uint32_t i = 0; i < count && reader.ok(); ++i) {
    const std::int32_t node_id = reader.i32("node id");
    const std::uint32_t index = findNode(node_by_id, node_id);
    Node unlisted;  // a table entry for an id that is no node is read and dropped
    Node& node = index == kNone ? unlisted : graph.nodes[index];
    const auto properties = static_cast<std::uint32_t>(graph.properties.size());
    const auto late_loaded = static_cast<std::uint32_t>(graph.late_loaded.size());
    keepEarlier(node, budget, graph);
    for (;;) {
      const std::int32_t key_id = reader.i32("property key");
      if (!reader.ok() || key_id == 0) break;
      const std::int32_t value_id = reader.i32("property value");
      if (!reader.ok()) break;
      const Atom* key = findAtom(atoms, key_id);
      const Atom* value = findAtom(atoms, value_id);
      // Atoms that do not exist occur in good files: what wrote them has dropped a property.
      if (key == nullptr || value == nullptr) continue;
      hang(node, *key, *value, graph);
      if (value->kind == Atom::Kind::Segment && value->rival != Guid{} && mayBeGeometry(*value)) {
        graph.addDamage(index, makeError("property atom " + std::to_string(value_id) +
                                         " is there twice, with segment " + value->segment.text() +
                                         " and with segment " + value->rival.text() + "; the first is used"));
      }
    }
    node.properties = {properties, static_cast<std::uint32_t>(graph.properties.size()) - properties};
    node.late_loaded = {late_loaded, static_cast<std::uint32_t>(graph.late_loaded.size()) - late_loaded};
    if (index != kNone) continue;
    for (std::size_t k = late_loaded; k < graph.late_loaded.size(); ++k) {
      graph.stray_references.push_back({node_id, node.name, graph.late_loaded[k].segment});
    }
  }
  if (!reader.ok()) graph.addDamage(kNone, reader.error().in("property table"));
}

}  // namespace jttk
