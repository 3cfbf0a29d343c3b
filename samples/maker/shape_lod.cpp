// The element of 9.x:  I16, I16, U64 bindings, I16, U32 records id, I16, rep data, tail
// of 10.0:             U8, U8, U64 bindings, nested element (U8, U32 records id, U8, rep data), U8
// of 8.x:              I16, I32 bindings, U8 x 4, I16, rep data (rep_data_v8.cpp)
// Rep data of 9.0 and later: polygons through the topology coder, lines and points as lists of records.
#include "samples/maker/shape_lod.h"

#include <algorithm>
#include <numeric>

#include "samples/maker/guids.h"
#include "samples/maker/hash.h"
#include "samples/maker/packet.h"
#include "samples/maker/primitives.h"
#include "samples/maker/topology.h"
#include "samples/maker/vertex_records.h"

namespace loftbay::maker {
namespace {

GuidValue lodGuid(ShapeKind kind) {
  switch (kind) {
    case ShapeKind::Triangles:
      return guids::kTriStripLod;
    case ShapeKind::Polygons:
      return guids::kPolygonLod;
    case ShapeKind::Polylines:
      return guids::kPolylineLod;
    case ShapeKind::Points:
      return guids::kPointLod;
    case ShapeKind::Solids:
      break;
  }
  return guids::kPrimitiveLod;
}

void writeTopology(ByteWriter& out, const Shape& shape, const Options& options) {
  const Topology topology = encodeTopology(shape, options.major() == 10);
  writeTopologyStreams(out, topology, options);
  out.u64(bindings(shape));
  writeQuantisation(out, options);
  out.i32(static_cast<std::int64_t>(topology.vert_positions.size()));
  if (topology.vert_positions.empty()) return;
  out.i32(static_cast<std::int64_t>(topology.record_sources.size()));
  writeCoordinates(out, shape, topology.vert_positions, options);
  writeAttributes(out, shape, topology.record_sources, options);
}

// Records with the same position are neighbours; the run lengths say how many share each position.
struct RecordList {
  std::vector<std::uint32_t> positions;   // unique coordinates
  std::vector<std::int32_t> run_lengths;  // records of each
  std::vector<std::uint32_t> records;     // the shape's record of each record
  std::vector<std::int32_t> corners;      // record number of each corner
};

RecordList collectRecords(const Shape& shape) {
  RecordList list;
  std::vector<std::uint32_t> order(shape.corner_positions.size());
  std::iota(order.begin(), order.end(), 0U);
  const auto record = [&](std::uint32_t c) { return shape.hasRecords() ? shape.corner_records[c] : 0; };
  // In order of first use of each position, so that lines stay in runs.
  std::vector<std::uint32_t> rank(shape.positions.size(), 0xffffffffU);
  std::uint32_t used = 0;
  for (const auto p : shape.corner_positions) {
    if (rank[p] == 0xffffffffU) rank[p] = used++;
  }
  const auto key = [&](std::uint32_t c) {
    return std::uint64_t{rank[shape.corner_positions[c]]} << 32 | record(c);
  };
  std::stable_sort(order.begin(), order.end(), [&](auto a, auto b) { return key(a) < key(b); });
  list.corners.resize(order.size());
  for (std::size_t i = 0; i < order.size(); ++i) {
    const bool new_position = i == 0 || key(order[i]) >> 32 != key(order[i - 1]) >> 32;
    if (new_position) {
      list.positions.push_back(shape.corner_positions[order[i]]);
      list.run_lengths.push_back(0);
    }
    if (i == 0 || key(order[i]) != key(order[i - 1])) {
      list.records.push_back(record(order[i]));
      ++list.run_lengths.back();
    }
    list.corners[order[i]] = static_cast<std::int32_t>(list.records.size() - 1);
  }
  return list;
}

void writeRecordLists(ByteWriter& out, const Shape& shape, const Options& options) {
  const RecordList list = collectRecords(shape);
  const std::vector<std::int32_t> primitives(shape.primitive_starts.begin(), shape.primitive_starts.end());
  const std::vector<std::int32_t> groups = {0, static_cast<std::int32_t>(primitives.size() - 1)};
  out.i32(1);
  out.i32(static_cast<std::int64_t>(primitives.size() - 1));
  out.i32(static_cast<std::int64_t>(list.corners.size()));
  std::uint32_t hash = 0;
  const auto put = [&](const std::vector<std::int32_t>& values) {
    writePacket(out, values, Predictor::None, options);
    hash = hashWords(values, hash);
  };
  put(groups);
  put(primitives);
  put(list.corners);
  out.u32(hash);

  out.u64(bindings(shape));
  writeQuantisation(out, options);
  out.i32(static_cast<std::int64_t>(list.records.size()));
  if (list.records.empty()) return;
  out.i32(static_cast<std::int64_t>(list.positions.size()));
  writePacket(out, list.run_lengths, Predictor::None, options);
  out.u32(hashWords(list.run_lengths, 0));
  writeCoordinates(out, shape, list.positions, options);
  writeAttributes(out, shape, list.records, options);
}

void writeRepData(ByteWriter& out, const Shape& shape, const Options& options) {
  const bool lists = shape.kind == ShapeKind::Polylines || shape.kind == ShapeKind::Points;
  if (lists) {
    writeRecordLists(out, shape, options);
  } else {
    writeTopology(out, shape, options);
  }
}

void writeBody9(ByteWriter& out, const Shape& shape, const Options& options, std::int32_t records_id) {
  const bool v95 = options.version == JtVersion::V9_5;
  out.i16(1);
  out.i16(1);
  out.u64(bindings(shape));
  out.i16(v95 ? 2 : 1);
  out.i32(records_id);
  out.i16(v95 ? 2 : 1);
  writeRepData(out, shape, options);
  out.i16(1);
  if (v95) {
    out.u64(bindings(shape));
    out.i16(1);
  }
}

void writeBody10(ByteWriter& out, const Shape& shape, const Options& options, std::int32_t nested_id) {
  out.u8(1);
  out.u8(1);
  out.u64(bindings(shape));
  const std::size_t length_at = out.size();
  out.i32(0);
  out.guid(guids::kTopoMesh);
  out.u8(9);
  out.i32(nested_id);
  out.u8(1);
  out.i32(nested_id + 1);
  out.u8(1);
  writeRepData(out, shape, options);
  out.patchI32(length_at, static_cast<std::int64_t>(out.size() - length_at - 4));
  out.u8(1);
}

void writeBody8(ByteWriter& out, const Shape& shape, const Options& options) {
  out.i16(1);
  out.i32(shape.normals.empty() ? 0 : 1);
  writeQuantisation(out, options);
  out.i16(1);
  writeRepData8(out, shape, options);
}

void writeBody(ByteWriter& out, const Shape& shape, const Options& options, std::int32_t object_id) {
  switch (options.major()) {
    case 8:
      return writeBody8(out, shape, options);
    case 9:
      return writeBody9(out, shape, options, object_id + 1);
    default:
      return writeBody10(out, shape, options, object_id + 1);
  }
}

}  // namespace

std::uint64_t bindings(const Shape& shape) {
  return 2U | (shape.normals.empty() ? 0U : 8U) | (shape.colors.empty() ? 0U : 0x20U) |
         (shape.vertex_flags.empty() ? 0U : 0x40U) | (shape.texture_coordinates.empty() ? 0U : 0x200U);
}

Bytes shapeSegment(const Shape& shape, const Options& options, std::int32_t object_id) {
  ByteWriter out(options.big_endian);
  const int major = options.major();
  out.i32(0);
  out.guid(lodGuid(shape.kind));
  out.u8(4);
  if (major > 8) out.i32(object_id);
  if (shape.kind == ShapeKind::Solids) {
    writePrimitiveSet(out, shape, options);
  } else {
    writeBody(out, shape, options, object_id);
  }
  out.patchI32(0, static_cast<std::int64_t>(out.size() - 4));
  if (major > 8 || options.version == JtVersion::V8_2) {
    out.i32(16);
    out.guid(guids::kEnd);
  }
  if (major > 8) {
    out.i16(1);
    out.i32(0);
  }
  return out.take();
}

}  // namespace loftbay::maker
