// The attribute records of a mesh that is decoded: which of them each corner has. The masks of its vertices
// say so.
#pragma once

#include <cstdint>

#include "jttk/codec/v9/topology_symbols.h"

namespace jttk {

// Those of one vertex.
struct VertexRecords {
  std::uint64_t mask = 0;       // of degrees up to kLargestMaskedDegree
  std::uint32_t wide_mask = 0;  // else: first word among the wide mask words
  std::uint32_t first = 0;      // its first record
};
inline constexpr std::uint32_t kLargestMaskedDegree = 64;

class TopologyRecords {
 public:
  // `symbols` must outlive this.
  TopologyRecords(const TopologySymbols& symbols, PacketForm form) : symbols_(symbols), form_(form) {}

  // Takes the next mask for a vertex of that degree. The mesh itself does not depend on the masks: where they
  // do not suffice, the records are given up.
  VertexRecords ofNextVertex(std::uint32_t degree);

  // Of all vertices so far.
  [[nodiscard]] std::uint32_t count() const { return count_; }
  // Asked when all vertices are known: each had its mask, and no mask is left over.
  [[nodiscard]] bool fit() const;

  // Calls visit(slot, record) for each slot of a vertex; kNoTopologyRecord where it has no record. `end`: one
  // more than its last record.
  //
  // Records are numbered in slot order from the vertex's first; slots before the first set bit belong to the
  // last record, which began further round.
  template <typename Visit>
  void forSlots(const VertexRecords& vertex, std::uint32_t end, std::uint32_t degree, Visit visit) const {
    const auto bit = [&](std::uint32_t slot) {
      if (degree <= kLargestMaskedDegree) return static_cast<std::uint32_t>(vertex.mask >> slot) & 1U;
      return (symbols_.wide_mask_words[vertex.wide_mask + slot / 32] >> (slot % 32)) & 1U;
    };
    std::uint32_t next = vertex.first;
    std::uint32_t record = end == vertex.first ? kNoTopologyRecord : end - 1;
    for (std::uint32_t slot = 0; slot < degree; ++slot) {
      if (bit(slot) != 0) record = next++;
      visit(slot, record);
    }
  }

 private:
  void readMask(std::uint32_t degree, VertexRecords& vertex);
  void readWideMask(std::uint32_t degree, VertexRecords& vertex);

  const TopologySymbols& symbols_;
  PacketForm form_;
  std::size_t next_mask_[kTopologyContexts] = {};
  std::size_t next_wide_word_ = 0;
  std::uint32_t count_ = 0;
  bool suffice_ = true;
};

}  // namespace jttk
