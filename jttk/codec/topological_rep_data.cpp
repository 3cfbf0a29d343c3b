// Topologically compressed: the topology's arrays, then the vertex arrays.
#include <string>

#include "jttk/codec/rep_data.h"
#include "jttk/codec/topology.h"
#include "jttk/codec/vertex_records.h"

namespace jttk {
namespace {

static_assert(kNoTopologyRecord == ShapeGeometry::kNoRecord);

tl::unexpected<Error> countMismatch(const char* what, std::uint32_t stated, std::uint32_t found,
                                    std::uint64_t offset) {
  return fail(
      std::to_string(stated) + " " + what + " are stated, but the topology has " + std::to_string(found),
      offset);
}

}  // namespace

Result<ShapeGeometry> decodeTopologicalRepData(ByteReader& reader, PacketForm form) {
  const std::uint64_t start = reader.offset();
  const std::uint64_t most_values = plausibleShapeValues(reader.remaining());
  Int32PacketReader packets(form, most_values);
  Topology topology;
  {
    const auto symbols = readTopologySymbols(reader, packets);
    if (!symbols) return tl::unexpected<Error>(symbols.error());
    auto mesh = decodeTopology(*symbols, form, start, most_values);
    if (!mesh) return tl::unexpected<Error>(mesh.error());
    topology = std::move(*mesh);
  }
  ShapeGeometry shape;
  shape.kind = PrimitiveKind::Polygons;
  VertexArrayReader arrays(reader, packets);
  auto done = arrays.readHeader(shape.facts);
  if (!done) return tl::unexpected<Error>(done.error());
  const std::uint64_t counts_offset = reader.offset();
  const std::uint32_t vertices = reader.count("number of vertices", 0);
  const std::uint32_t records = vertices > 0 ? reader.count("number of vertex attributes", 0) : 0;
  if (!reader.ok()) return reader.unexpected();
  if (vertices != topology.vertices)
    return countMismatch("vertices", vertices, topology.vertices, counts_offset);
  if (vertices > 0) {
    done = arrays.readCoordinates(vertices, shape);
    if (!done) return tl::unexpected<Error>(done.error());
  }
  // Without a record for every corner the attributes are of no use, but the mesh is.
  const bool records_fit = topology.records_fit && records == topology.records;
  if (records_fit) {
    done = arrays.readAttributes(records, shape);
    if (!done) return tl::unexpected<Error>(done.error());
  } else {
    shape.facts.unread_attributes =
        countMismatch("vertex attributes", records, topology.records, counts_offset).value().text();
  }
  shape.facts.components = topology.components;
  shape.facts.covers = topology.covers;
  shape.facts.topology_hash_checked = true;
  shape.primitive_starts = std::move(topology.polygon_starts);
  shape.corner_positions = std::move(topology.corner_vertices);
  if (records_fit && records > 0) shape.corner_records = std::move(topology.corner_records);
  return shape;
}

}  // namespace jttk
