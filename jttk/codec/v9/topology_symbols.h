// The arrays that a mesh of JT 9 and 10 is stored as; what they mean is in topology.h.
#pragma once

#include <cstdint>
#include <vector>

#include "jttk/codec/v9/packet.h"
#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"

namespace jttk {

inline constexpr std::size_t kTopologyContexts = 8;

// The arrays as stored, after prediction.
struct TopologySymbols {
  std::vector<std::int32_t> degrees[kTopologyContexts];  // slots of a new vertex; 0 = split
  std::vector<std::int32_t> valences;                    // corners of a polygon
  std::vector<std::int32_t> groups;                      // face group per polygon; negative = cover
  std::vector<std::int32_t> flags;                       // per polygon: not 0 = cover; empty = see the groups
  // Bit s of a vertex's mask: a new attribute record begins at slot s. The last context is for degrees above
  // 8 and is cut in two or three arrays.
  std::vector<std::int32_t> masks[kTopologyContexts];
  std::vector<std::int32_t> upper_masks;       // JT 9: bits 30 to 59; JT 10: bits 32 to 63
  std::vector<std::int32_t> top_masks;         // JT 9 only: bits 60 to 63
  std::vector<std::uint32_t> wide_mask_words;  // masks of degrees above 64, ceil(degree / 32) words each
  std::vector<std::int32_t> split_offsets;     // how far back in the list of open vertices
  std::vector<std::int32_t> split_positions;   // slot of that vertex
  // Whether the hash that is stored behind the arrays is theirs, and where it stands.
  bool hash_agrees = true;
  std::uint64_t hash_offset = 0;
};

// Reads the arrays. A hash that is not theirs is no failure: see hash_agrees.
Result<TopologySymbols> readTopologySymbols(ByteReader& reader, PacketReader& packets);

// The hash over all arrays, in the order in which they are stored.
std::uint32_t topologyHash(const TopologySymbols& symbols, PacketForm form);

// What the arrays make when all of them are used up.
struct TopologySizes {
  std::uint64_t corners = 0;  // as many as slots
  std::size_t vertices = 0;
};
// Fails where the arrays contradict each other, or make more corners than that. `offset`: where they
// came from, for messages.
Result<TopologySizes> topologySizes(const TopologySymbols& symbols, std::uint64_t most_corners,
                                    std::uint64_t offset);

// In place of a record's number: the vertex has none.
inline constexpr std::uint32_t kNoTopologyRecord = 0xffffffffU;

}  // namespace jttk
