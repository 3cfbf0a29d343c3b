// Decodes shape LOD elements: the geometry of one shape at one level of detail.
#pragma once

#include <array>
#include <span>

#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"
#include "jttk/file/jt_file.h"
#include "jttk/file/memory_budget.h"
#include "jttk/mesh/shape_geometry.h"

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
};

// Decodes the one shape LOD element of a shape segment (types 6 to 16). Running out of memory fails the whole
// shape; it is never treated as an unreadable attribute or a wrong hash.
Result<ShapeGeometry> decodeShapeLod(const Segment& segment, Version version, ByteOrder order,
                                     const ShapeContext& context = {});

}  // namespace jttk
