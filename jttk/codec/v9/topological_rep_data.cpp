// Topologically compressed: the topology's arrays, then the vertex arrays.
//
// One of two wrong hashes is tolerated. If it is the topology's, the mesh is doubtful, but may be right: its
// arrays fit each other to the last symbol. If it is the coordinates', the box that the node states must
// confirm them. Two wrong hashes fail the shape.
#include <string>

#include "jttk/codec/stated_box.h"
#include "jttk/codec/v9/rep_data.h"
#include "jttk/codec/v9/topology.h"
#include "jttk/codec/v9/vertex_records.h"

namespace jttk {
namespace {

static_assert(kNoTopologyRecord == ShapeGeometry::kNoRecord);

Error countMismatch(const char* what, std::uint32_t stated, std::uint32_t found, std::uint64_t offset,
                    CheckPlace check = CheckPlace::current()) {
  return makeError(
      std::to_string(stated) + " " + what + " are stated, but the topology has " + std::to_string(found),
      offset, check);
}

// The mesh, and in `facts` what is known of its hash.
Result<Topology> readTopology(ByteReader& reader, PacketReader& packets, ShapeFacts& facts) {
  const std::uint64_t start = reader.offset();
  const TopologyLimits limits{plausibleShapeCorners(reader.remaining()), &packets.memory()};
  const std::uint64_t before = limits.memory->taken();
  const auto symbols = readTopologySymbols(reader, packets);
  if (!symbols) return passOn(symbols);
  const std::string doubt = "the topology arrays do not agree with their hash";
  auto mesh = decodeTopology(*symbols, packets.form(), start, limits);
  if (!mesh && !symbols->hash_agrees) {
    return fail(doubt + ", and there is no mesh in them: " + mesh.error().what, symbols->hash_offset);
  }
  if (!mesh) return mesh;
  facts.topology_hash_checked = symbols->hash_agrees;
  if (!symbols->hash_agrees) facts.doubt = makeError(doubt, symbols->hash_offset).text();
  const std::size_t kept =
      mesh->corner_vertices.size() + mesh->corner_records.size() + mesh->polygon_starts.size();
  limits.memory->giveBackTo(before, kept * sizeof(std::uint32_t));
  return mesh;
}

}  // namespace

Result<ShapeGeometry> decodeTopologicalRepData(ByteReader& reader, PacketForm form,
                                               const ShapeContext& context) {
  const std::uint64_t most_values = plausibleShapeValues(reader.remaining());
  PacketReader packets(form, most_values, context.memory);
  ShapeGeometry shape;
  shape.kind = PrimitiveKind::Polygons;
  auto read = readTopology(reader, packets, shape.facts);
  if (!read) return passOn(read);
  Topology& topology = *read;
  VertexArrayReader arrays(reader, packets,
                           shape.facts.topology_hash_checked ? statedBox(context.stated) : nullptr);
  auto done = arrays.readHeader(shape.facts);
  if (!done) return passOn(done);
  const std::uint64_t counts_offset = reader.offset();
  const std::uint32_t vertices = reader.count("number of vertices");
  const std::uint32_t records = vertices > 0 ? reader.count("number of vertex attributes") : 0;
  if (!reader.ok()) return reader.unexpected();
  if (vertices != topology.vertices)
    return tl::unexpected<Error>(countMismatch("vertices", vertices, topology.vertices, counts_offset));
  // Without vertices no arrays follow, even if the bindings name some.
  if (vertices == 0) return shape;
  done = arrays.readCoordinates(vertices, shape);
  if (!done) return passOn(done);
  // Without a record for every corner the attributes are dropped; the mesh stays.
  const bool records_fit = topology.records_fit && records == topology.records;
  if (records_fit) {
    arrays.readAttributes(records, context.extra_attributes, shape);
  } else {
    shape.facts.unread_attributes =
        countMismatch("vertex attributes", records, topology.records, counts_offset).text();
  }
  shape.facts.components = topology.components;
  shape.facts.covers = topology.covers;
  shape.primitive_starts = std::move(topology.polygon_starts);
  shape.corner_positions = std::move(topology.corner_vertices);
  if (records_fit && records > 0) shape.corner_records = std::move(topology.corner_records);
  // Neighbours are separated by the topology's records; without these others may fit.
  if (records_fit || !topology.records_fit) shape.neighbours = std::move(topology.neighbours);
  return shape;
}

}  // namespace jttk
