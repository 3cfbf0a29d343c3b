// Polylines and points: groups of primitives, primitives as ranges of a vertex list, and the vertex list with
// record numbers; then the vertex arrays. Records with equal positions share one coordinate.
#include <array>
#include <string>

#include "jttk/codec/lookup2.h"
#include "jttk/codec/stated_box.h"
#include "jttk/codec/v9/rep_data.h"
#include "jttk/codec/v9/vertex_records.h"

namespace jttk {
namespace {

struct IndexLists {
  std::vector<std::int32_t> groups;      // only hashed
  std::vector<std::int32_t> primitives;  // first entry of each, and the end
  std::vector<std::int32_t> vertices;    // record numbers
};

// `count` ranges need count + 1 starts. Accepted too: no entry where count is 0, and writers that state the
// number of entries as the count.
Result<void> readStarts(ByteReader& reader, PacketReader& packets, const char* what, std::uint32_t count,
                        std::vector<std::int32_t>& starts) {
  const std::uint64_t start = reader.offset();
  auto done = packets.read(reader, what, Predictor::Null, count + 1, starts);
  if (!done || starts.size() + 1 > count) return done;
  return fail(std::string(what) + ": " + std::to_string(starts.size()) + " entries for " +
                  std::to_string(count) + " stretches",
              start);
}

// The lists usually have no predictor, but other predictors are published for them. The hash decides: each
// list is tried with every one until the chain of all three agrees. False when no choice does; then nothing
// has changed.
bool undoOtherPredictors(IndexLists& lists, std::uint32_t stored) {
  using List = std::vector<std::int32_t>;
  constexpr std::array kCandidates = {Predictor::Null, Predictor::Lag1, Predictor::Stride1,
                                      Predictor::StripIndex};
  const auto tries = [&](const List& list) {
    std::array<List, kCandidates.size()> result;
    result.fill(list);
    for (std::size_t i = 0; i < kCandidates.size(); ++i) undoPredictor(kCandidates[i], result[i]);
    return result;
  };
  auto all_groups = tries(lists.groups);
  auto all_primitives = tries(lists.primitives);
  auto all_vertices = tries(lists.vertices);
  for (List& groups : all_groups) {
    const std::uint32_t group_hash = hash32(groups, 0);
    for (List& primitives : all_primitives) {
      const std::uint32_t primitive_hash = hash32(primitives, group_hash);
      for (List& vertices : all_vertices) {
        if (hash32(vertices, primitive_hash) != stored) continue;
        lists = {std::move(groups), std::move(primitives), std::move(vertices)};
        return true;
      }
    }
  }
  return false;
}

void addDoubt(const char* what, std::uint64_t offset, ShapeFacts& facts) {
  if (facts.doubt.empty()) facts.doubt = makeError(what, offset).text();
}

Result<void> readLists(ByteReader& reader, PacketReader& packets, std::uint64_t most_values,
                       IndexLists& lists, ShapeFacts& facts) {
  const std::uint64_t start = reader.offset();
  const std::uint32_t groups = reader.count("number of groups");
  const std::uint32_t primitives = reader.count("number of primitives");
  const std::uint32_t entries = reader.count("length of the vertex list");
  if (!reader.ok()) return reader.unexpected();
  if (groups >= most_values || primitives >= most_values || entries >= most_values) {
    return fail("more primitives than a shape may have", start);
  }
  auto done = readStarts(reader, packets, "group list", groups, lists.groups);
  if (done) done = readStarts(reader, packets, "primitive list", primitives, lists.primitives);
  if (done) done = packets.readExactly(reader, "vertex list", Predictor::Null, entries, lists.vertices);
  if (!done) return done;
  const std::uint64_t hash_offset = reader.offset();
  const std::uint32_t stored = reader.u32("hash of the index lists");
  if (!reader.ok()) return reader.unexpected();
  if (hash32(lists.vertices, hash32(lists.primitives, hash32(lists.groups, 0))) == stored) return {};
  if (!undoOtherPredictors(lists, stored)) {
    addDoubt("the index lists do not agree with their hash", hash_offset, facts);
  }
  return {};
}

// The ranges must ascend. Entries before the first and behind the last range are removed.
Result<void> setPrimitives(IndexLists& lists, std::uint64_t offset, ShapeGeometry& shape) {
  const auto entries = static_cast<std::uint32_t>(lists.vertices.size());
  if (lists.primitives.size() < 2) {
    // No primitives stated: all entries are one.
    if (entries > 0) shape.primitive_starts = {0, entries};
    return {};
  }
  shape.primitive_starts.reserve(lists.primitives.size());
  const auto first = static_cast<std::uint32_t>(lists.primitives.front());
  std::uint32_t last = first;
  for (const std::int32_t start : lists.primitives) {
    const auto value = static_cast<std::uint32_t>(start);
    if (value < last || value > entries)
      return fail("primitive list: it does not ascend within the vertex list", offset);
    shape.primitive_starts.push_back(value - first);
    last = value;
  }
  lists.vertices.resize(last);
  lists.vertices.erase(lists.vertices.begin(), lists.vertices.begin() + first);
  return {};
}

// The coordinate of each record: the k-th coordinate serves the next lengths[k] records.
Result<std::vector<std::uint32_t>> readRecordPositions(ByteReader& reader, PacketReader& packets,
                                                       std::uint32_t records, std::uint32_t& unique,
                                                       ShapeFacts& facts) {
  const std::uint64_t start = reader.offset();
  unique = reader.count("number of coordinates");
  if (!reader.ok()) return reader.unexpected();
  if (unique > records) return fail("more coordinates than records", start);
  std::vector<std::int32_t> lengths;
  const auto done = packets.readExactly(reader, "coordinate run lengths", Predictor::Null, unique, lengths);
  if (!done) return passOn(done);
  const std::uint32_t stored = reader.u32("hash of the run lengths");
  if (!reader.ok()) return reader.unexpected();
  if (hash32(lengths, 0) != stored) {
    addDoubt("the coordinate run lengths do not agree with their hash", start, facts);
  }
  if (auto taken = packets.memory().take(records, sizeof(std::uint32_t), start); !taken) {
    return passOn(taken);
  }
  std::vector<std::uint32_t> positions;
  positions.reserve(records);
  for (std::uint32_t i = 0; i < unique; ++i) {
    if (lengths[i] < 0 || static_cast<std::uint32_t>(lengths[i]) > records - positions.size()) {
      return fail("the coordinate run lengths go past the last record", start);
    }
    positions.insert(positions.end(), static_cast<std::size_t>(lengths[i]), i);
  }
  if (positions.size() != records) return fail("the coordinate run lengths leave out records", start);
  return positions;
}

Result<void> setCorners(const std::vector<std::int32_t>& entries,
                        const std::vector<std::uint32_t>& record_positions, std::uint64_t offset,
                        ShapeGeometry& shape) {
  const bool has_records = !shape.normals.empty() || !shape.colors.empty() ||
                           !shape.texture_coordinates.empty() || !shape.vertex_flags.empty();
  shape.corner_positions.reserve(entries.size());
  if (has_records) shape.corner_records.reserve(entries.size());
  for (const std::int32_t entry : entries) {
    const auto record = static_cast<std::uint32_t>(entry);
    if (record >= record_positions.size()) {
      return fail("vertex list: entry " + std::to_string(entry) + " of " +
                      std::to_string(record_positions.size()) + " records",
                  offset);
    }
    shape.corner_positions.push_back(record_positions[record]);
    if (has_records) shape.corner_records.push_back(record);
  }
  return {};
}

}  // namespace

Result<ShapeGeometry> decodeIndexedRepData(ByteReader& reader, PacketForm form, PrimitiveKind kind,
                                           const ShapeContext& context) {
  const std::uint64_t start = reader.offset();
  const std::uint64_t most_values = plausibleShapeValues(reader.remaining());
  PacketReader packets(form, most_values, context.memory);
  ShapeGeometry shape;
  shape.kind = kind;
  IndexLists lists;
  auto done = readLists(reader, packets, most_values, lists, shape.facts);
  if (!done) return passOn(done);
  done = setPrimitives(lists, start, shape);
  if (!done) return passOn(done);
  VertexArrayReader header(reader, packets);
  done = header.readHeader(shape.facts);
  if (!done) return passOn(done);
  const std::uint64_t records_offset = reader.offset();
  const std::uint32_t records = reader.count("number of vertex records");
  if (!reader.ok()) return reader.unexpected();
  if (records > most_values) return fail("more vertex records than a shape may have", records_offset);
  std::vector<std::uint32_t> record_positions;
  if (records > 0) {
    std::uint32_t unique = 0;
    auto positions = readRecordPositions(reader, packets, records, unique, shape.facts);
    if (!positions) return passOn(positions);
    record_positions = std::move(*positions);
    VertexArrayReader arrays(reader, packets,
                             shape.facts.doubt.empty() ? statedBox(context.stated) : nullptr);
    done = arrays.readCoordinates(unique, shape);
    if (!done) return passOn(done);
    arrays.readAttributes(records, context.extra_attributes, shape);
  }
  shape.facts.topology_hash_checked = shape.facts.doubt.empty();
  if (auto taken = packets.memory().take(lists.vertices.size(), 2 * sizeof(std::uint32_t), start); !taken) {
    return passOn(taken);
  }
  done = setCorners(lists.vertices, record_positions, start, shape);
  if (!done) return passOn(done);
  return shape;
}

}  // namespace jttk
