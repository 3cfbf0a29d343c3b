// Huffman codes of JT 8.x packets. The file holds symbol frequencies only; reader and writer build the tree
// with the same binary heap, whose treatment of equal counts is part of the format.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "jttk/codec/bits/bit_reader.h"
#include "jttk/codec/v8/probability_contexts.h"

namespace jttk {

// One table's code, made ready for decoding: codes of up to kFastBits bits are one look-up, the rest of a
// longer code is a walk down the tree.
class HuffmanDecoder {
 public:
  HuffmanDecoder() = default;  // a code without symbols
  explicit HuffmanDecoder(const ContextTable& table);

  [[nodiscard]] bool empty() const noexcept { return nodes_.empty(); }

  // The next symbol as an index into the table's entries. A code of one symbol takes no bits. Not for an
  // empty code. Bits past the end of the text count as zeros.
  std::uint32_t decode(BitReader& bits) const noexcept {
    const Step step = fast_[bits.peek(fast_bits_)];
    bits.skip(step.length);
    if (step.node < leaf_count_) return step.node;
    std::uint32_t node = step.node;
    while (node >= leaf_count_) {
      const Node& parent = nodes_[node];
      node = bits.peek(1) != 0 ? parent.left : parent.right;
      bits.skip(1);
    }
    return node;
  }

 private:
  static constexpr unsigned kFastBits = 10;

  struct Node {
    std::uint64_t count = 0;
    std::uint32_t left = 0;  // children of nodes that are no leaves
    std::uint32_t right = 0;
  };
  struct Step {
    std::uint32_t node = 0;
    std::uint32_t length = 0;  // bits of the code up to that node
  };

  void buildTree();
  [[nodiscard]] unsigned depthUpToLimit() const;
  void fillFastTable();

  // Leaves first, in the order of the table's entries; the root is the last one.
  std::vector<Node> nodes_;
  std::uint32_t leaf_count_ = 0;
  unsigned fast_bits_ = 0;
  std::vector<Step> fast_;
};

}  // namespace jttk
