// Primitive sets: boxes, cylinders, pyramids, spheres and triangular prisms that a file gives by a few
// numbers each, in place of triangles. This is what the element states; what the numbers mean as solids is
// decided in primitive_meaning.h.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"
#include "jttk/file/jt_file.h"

namespace jttk {

enum class PrimitiveType : std::uint8_t { Box = 0, Cylinder = 1, Pyramid = 2, Sphere = 3, TriPrism = 4 };
inline constexpr std::size_t kPrimitiveTypes = 5;

struct Primitive {
  PrimitiveType type = PrimitiveType::Box;
  std::array<float, 3> origin{};    // the solid's origin; which point that is, see primitive_meaning.h
  std::array<float, 3> size{};      // lengths or radii; a type may leave some at 0
  std::array<float, 4> rotation{};  // a quaternion of length 1, components in the order of the file
  std::array<float, 3> color{};     // red, green, blue; only where the set has colours
};

struct PrimitiveSet {
  std::vector<Primitive> primitives;  // at least one
  bool has_colors = false;
  std::uint8_t place_bits = 0;  // quantisation; 0 = lossless
  std::uint8_t color_bits = 0;
};

// `body`: the element after its GUID and base type byte. Every byte must be accounted for, every number
// finite, every type known, every quaternion of length 1.
Result<PrimitiveSet> decodePrimitiveSet(ByteReader body, Version version);

}  // namespace jttk
