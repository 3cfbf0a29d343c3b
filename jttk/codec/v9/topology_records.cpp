#include "jttk/codec/v9/topology_records.h"

#include <algorithm>
#include <bit>

namespace jttk {

VertexRecords TopologyRecords::ofNextVertex(std::uint32_t degree) {
  VertexRecords vertex;
  vertex.first = count_;
  if (!suffice_) return vertex;
  if (degree > kLargestMaskedDegree) {
    readWideMask(degree, vertex);
  } else {
    readMask(degree, vertex);
  }
  return vertex;
}

void TopologyRecords::readWideMask(std::uint32_t degree, VertexRecords& vertex) {
  const std::size_t words = (std::size_t{degree} + 31) / 32;
  if (words > symbols_.wide_mask_words.size() - next_wide_word_) {
    suffice_ = false;
    return;
  }
  vertex.wide_mask = static_cast<std::uint32_t>(next_wide_word_);
  for (std::size_t i = 0; i < words; ++i) {
    count_ += static_cast<std::uint32_t>(std::popcount(symbols_.wide_mask_words[next_wide_word_ + i]));
  }
  next_wide_word_ += words;
}

void TopologyRecords::readMask(std::uint32_t degree, VertexRecords& vertex) {
  const std::size_t context = std::min(kTopologyContexts - 1, std::size_t{std::max(degree, 2U)} - 2);
  if (next_mask_[context] == symbols_.masks[context].size()) {
    suffice_ = false;
    return;
  }
  const std::size_t i = next_mask_[context]++;
  vertex.mask = static_cast<std::uint32_t>(symbols_.masks[context][i]);
  if (context == kTopologyContexts - 1) {
    // Upper masks may be left out where no degree reaches them.
    const auto part = [i](const std::vector<std::int32_t>& masks) {
      return std::uint64_t{i < masks.size() ? static_cast<std::uint32_t>(masks[i]) : 0U};
    };
    const std::uint64_t upper = part(symbols_.upper_masks);
    vertex.mask |= form_ == PacketForm::V9 ? upper << 30 | part(symbols_.top_masks) << 60 : upper << 32;
  }
  count_ += static_cast<std::uint32_t>(std::popcount(vertex.mask));
}

bool TopologyRecords::fit() const {
  bool all_used = next_wide_word_ == symbols_.wide_mask_words.size();
  for (std::size_t i = 0; i < kTopologyContexts; ++i)
    all_used = all_used && next_mask_[i] == symbols_.masks[i].size();
  return suffice_ && all_used;
}

}  // namespace jttk
