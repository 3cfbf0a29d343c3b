// Depth-first walk over a tree of objects that carries each object's world matrix along. Uses a stack of its
// own: trees of 100,000 levels and more are legal.
#pragma once

#include <cstdint>
#include <deque>
#include <span>

#include "zix/placement.h"

namespace Orb::Zix {

// `children_of(object)` gives a span of object numbers, `matrix_of(object)` a Matrix pointer-like value:
// const TransformRecord* or null when the object is not placed. `enter(object, world, depth)` is called
// before the children, `leave(object)` after them.
template <typename ChildrenOf, typename TransformOf, typename Enter, typename Leave>
void walkTree(std::uint32_t root, ChildrenOf children_of, TransformOf transform_of, Enter enter,
              Leave leave) {
  struct Frame {
    std::uint32_t object;
    std::uint32_t next_child;
    Matrix world;
  };
  const auto place = [&](std::uint32_t object, const Matrix& parent) {
    const auto transform = transform_of(object);
    return transform ? multiply(parent, placementMatrix(*transform)) : parent;
  };
  std::deque<Frame> stack;
  stack.push_back({root, 0, place(root, Matrix())});
  enter(root, stack.back().world, std::size_t{0});
  while (!stack.empty()) {
    Frame& top = stack.back();
    const std::span<const std::uint32_t> children = children_of(top.object);
    if (top.next_child == children.size()) {
      leave(top.object);
      stack.pop_back();
      continue;
    }
    const std::uint32_t child = children[top.next_child++];
    stack.push_back({child, 0, place(child, top.world)});
    enter(child, stack.back().world, stack.size() - 1);
  }
}

}  // namespace Orb::Zix
