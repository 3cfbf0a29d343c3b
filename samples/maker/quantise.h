// Quantisation of coordinates and unit vectors, and what a reader gets back from the codes. Tests compare
// decoded shapes with dequantised(): the shape that a quantised file holds.
#pragma once

#include <cstdint>
#include <span>

#include "samples/maker/format.h"
#include "samples/maker/product.h"

namespace loftbay::maker {

// value = float(code * (max - min) / (2^bits - 1) + min), in double, rounded once.
struct UniformQuantiser {
  float min = 0;
  float max = 0;
  std::uint8_t bits = 0;

  [[nodiscard]] std::uint32_t encode(float value) const;
  [[nodiscard]] float decode(std::uint32_t code) const;
};

// A unit vector as a position on the sphere, which is cut into 8 octants of 6 triangles each.
struct NormalCode {
  std::uint32_t sextant = 0;
  std::uint32_t octant = 0;
  std::uint32_t theta = 0;
  std::uint32_t psi = 0;

  [[nodiscard]] std::uint32_t packed(unsigned bits) const {
    return sextant << (2 * bits + 3) | octant << (2 * bits) | theta << bits | psi;
  }
};
NormalCode encodeNormal(const Vec3& normal, unsigned bits);
Vec3 decodeNormal(const NormalCode& code, unsigned bits);

// Quantisers that span the values of each coordinate.
struct PositionQuantisers {
  UniformQuantiser axis[3];
};
PositionQuantisers positionQuantisers(std::span<const Vec3> positions, std::uint8_t bits);

// The shape with every quantised value replaced by what a reader makes of its code.
Shape dequantised(const Shape& shape, const Options& options);

}  // namespace loftbay::maker
