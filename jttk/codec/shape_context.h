// What decoders of shapes are told besides the bytes.
#pragma once

#include <array>
#include <span>

#include "jttk/file/memory_budget.h"

namespace jttk {

// What the scene graph states about a shape.
struct StatedExtent {
  std::array<float, 6> box{};  // min x y z, max x y z
  float area = 0;
};

struct ShapeContext {
  // What the scene graph states: the shape node's extent first, for some primitive sets then the root's.
  // Primitive sets need it (see primitive_meaning.h); the coordinates of other shapes are compared with the
  // first box.
  std::span<const StatedExtent> stated;
  // Where the decoder takes its memory from; null: without a limit.
  MemoryBudget* memory = nullptr;
  // Decode texture coordinates and vertex flags too. Where not, their arrays come out empty; nothing is found
  // out about them, and the rest of the shape is the same. (Auxiliary fields are never decoded.)
  bool extra_attributes = false;
};

}  // namespace jttk
