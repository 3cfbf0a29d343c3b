// The topology coder: turns polygons into the symbol streams from which a reader grows the same mesh again,
// polygon by polygon around one vertex after the other. Linear in the number of corners.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "samples/maker/byte_writer.h"
#include "samples/maker/format.h"
#include "samples/maker/product.h"

namespace loftbay::maker {

struct Topology {
  // What is stored, in stored order.
  std::array<std::vector<std::int32_t>, 8> degrees;  // per context
  std::vector<std::int32_t> valences;
  std::vector<std::int32_t> groups;
  std::vector<std::int32_t> flags;
  std::array<std::vector<std::int32_t>, 8> masks;      // per context; context 7 holds the lowest bits
  std::vector<std::vector<std::int32_t>> upper_masks;  // the rest of context 7: 9.x two arrays, 10.x one
  std::vector<std::uint32_t> high_degree_masks;
  std::vector<std::int32_t> split_offsets;
  std::vector<std::int32_t> split_positions;
  std::uint32_t hash = 0;

  // What the streams refer to.
  std::vector<std::uint32_t> vert_positions;  // per topological vertex: the shape's position
  std::vector<std::uint32_t> record_sources;  // per vertex attribute: the shape's record
  std::vector<std::uint32_t> polygons;        // the shape's polygons in coded order, covers left out
  std::uint32_t components = 0;
  std::uint32_t covers = 0;
};

// `shape` holds polygons of at least three corners each; no polygon names a position twice.
Topology encodeTopology(const Shape& shape, bool version10);

// The hash of the streams, in stored order.
std::uint32_t topologyHash(const Topology& topology);
// The streams and their hash, as stored; `options`: of 9.0 or later.
void writeTopologyStreams(ByteWriter& out, const Topology& topology, const Options& options);

}  // namespace loftbay::maker
