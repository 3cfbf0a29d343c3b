// Builds the tree with the heap that the format prescribes, then the look-up table for short codes.
#include "jttk/codec/v8/huffman.h"

#include <algorithm>

namespace jttk {

namespace {

// A binary heap of nodes, least count on top. Which of two equal counts comes first follows from exactly
// these comparisons: a new node rises only past greater ones; on the way down the right child is taken only
// when it is less than the left one, and the moved node stops only where it is less than that child.
template <typename Nodes>
class CountHeap {
 public:
  explicit CountHeap(const Nodes& nodes) : nodes_(nodes) { heap_.reserve(nodes.size()); }

  [[nodiscard]] std::size_t size() const { return heap_.size(); }

  void add(std::uint32_t node) {
    std::size_t i = heap_.size();
    heap_.push_back(node);
    while (i > 0 && count(node) < count(heap_[(i - 1) / 2])) {
      heap_[i] = heap_[(i - 1) / 2];
      i = (i - 1) / 2;
    }
    heap_[i] = node;
  }

  std::uint32_t pop() {
    const std::uint32_t top = heap_.front();
    const std::uint32_t last = heap_.back();
    heap_.pop_back();
    const std::size_t size = heap_.size();
    if (size == 0) return top;
    std::size_t i = 0;
    while (i < size / 2) {
      std::size_t child = 2 * i + 1;
      if (child < size - 1 && count(heap_[child]) > count(heap_[child + 1])) ++child;
      if (count(last) < count(heap_[child])) break;
      heap_[i] = heap_[child];
      i = child;
    }
    heap_[i] = last;
    return top;
  }

 private:
  [[nodiscard]] std::uint64_t count(std::uint32_t node) const { return nodes_[node].count; }

  const Nodes& nodes_;
  std::vector<std::uint32_t> heap_;
};

}  // namespace

HuffmanDecoder::HuffmanDecoder(const ContextTable& table)
    : leaf_count_(static_cast<std::uint32_t>(table.entries.size())) {
  if (leaf_count_ == 0) return;
  nodes_.reserve(std::size_t{leaf_count_} * 2 - 1);
  for (const ContextEntry& entry : table.entries) nodes_.push_back({entry.count, 0, 0});
  buildTree();
  fillFastTable();
}

void HuffmanDecoder::buildTree() {
  CountHeap heap(nodes_);
  for (std::uint32_t leaf = 0; leaf < leaf_count_; ++leaf) heap.add(leaf);
  while (heap.size() > 1) {
    const std::uint32_t left = heap.pop();
    const std::uint32_t right = heap.pop();
    nodes_.push_back({nodes_[left].count + nodes_[right].count, left, right});
    heap.add(static_cast<std::uint32_t>(nodes_.size() - 1));
  }
}

// Length of the longest code, or kFastBits when that is less.
unsigned HuffmanDecoder::depthUpToLimit() const {
  // Children have smaller numbers than their parents, so one pass from the root down sees parents first.
  std::vector<unsigned> depth(nodes_.size(), 0);
  unsigned greatest = 0;
  for (std::size_t node = nodes_.size() - 1; node >= leaf_count_; --node) {
    const unsigned below = std::min(depth[node] + 1, kFastBits);
    depth[nodes_[node].left] = below;
    depth[nodes_[node].right] = below;
    greatest = std::max(greatest, below);
  }
  return greatest;
}

void HuffmanDecoder::fillFastTable() {
  fast_bits_ = depthUpToLimit();
  fast_.resize(std::size_t{1} << fast_bits_);
  const auto root = static_cast<std::uint32_t>(nodes_.size() - 1);
  for (std::uint32_t code = 0; code < fast_.size(); ++code) {
    Step step{root, 0};
    while (step.node >= leaf_count_ && step.length < fast_bits_) {
      const bool one = ((code >> (fast_bits_ - 1 - step.length)) & 1U) != 0;
      step.node = one ? nodes_[step.node].left : nodes_[step.node].right;  // a 1 goes left
      ++step.length;
    }
    fast_[code] = step;
  }
}

}  // namespace jttk
