// Unit normals coded as a position on the sphere: 8 octants of 6 sextants each, and in a sextant two angles.
// Sextant and octant say which axes to swap and to negate; the angles are codes of `bits` bits.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "host/portable_math.h"

namespace jttk {

// Codes of angles are at most this long: the packed code of JT 10 has 6 bits and two angles in 32.
inline constexpr std::uint32_t kMaximumNormalBits = 13;
// The published greatest latitude of a sextant, where tan is sqrt(1/2).
inline constexpr double kGreatestPsi = 0.615479709;

// Sines and cosines of all angle codes of one width: normals of a shape are many, angles few.
class NormalDecoder {
 public:
  // bits: 1 .. kMaximumNormalBits.
  explicit NormalDecoder(std::uint32_t bits) : limit_(1U << bits) {
    theta_.resize(std::size_t{limit_} + 1);
    psi_.resize(std::size_t{limit_} + 1);
    const double steps = limit_;
    for (std::uint32_t code = 0; code <= limit_; ++code) {
      const double tangent = loftbay::portable::tan(kGreatestPsi * (steps - code) / steps);
      const double theta = loftbay::portable::asin(std::min(1.0, tangent));
      const double psi = kGreatestPsi * code / steps;
      theta_[code] = {loftbay::portable::sin(theta), loftbay::portable::cos(theta)};
      psi_[code] = {loftbay::portable::sin(psi), loftbay::portable::cos(psi)};
    }
  }

  // False when a code is out of its range; then `normal` is not written. Angles may reach the end of their
  // range, which is one code more than their bits hold.
  [[nodiscard]] bool decode(std::uint32_t sextant, std::uint32_t octant, std::uint32_t theta,
                            std::uint32_t psi, float* normal) const noexcept {
    if (sextant > 5 || octant > 7 || theta > limit_ || psi > limit_) return false;
    const Angle t = theta_[std::min(theta + (sextant & 1U), limit_)];
    const Angle p = psi_[psi];
    const double x = t.cosine * p.cosine;
    const double y = p.sine;
    const double z = t.sine * p.cosine;
    double turned[3];
    switch (sextant) {
      case 0:
        turned[0] = x, turned[1] = y, turned[2] = z;
        break;
      case 1:
        turned[0] = z, turned[1] = y, turned[2] = x;
        break;
      case 2:
        turned[0] = y, turned[1] = z, turned[2] = x;
        break;
      case 3:
        turned[0] = y, turned[1] = x, turned[2] = z;
        break;
      case 4:
        turned[0] = z, turned[1] = x, turned[2] = y;
        break;
      default:
        turned[0] = x, turned[1] = z, turned[2] = y;
        break;
    }
    normal[0] = static_cast<float>((octant & 4U) != 0 ? turned[0] : -turned[0]);
    normal[1] = static_cast<float>((octant & 2U) != 0 ? turned[1] : -turned[1]);
    normal[2] = static_cast<float>((octant & 1U) != 0 ? turned[2] : -turned[2]);
    return true;
  }

 private:
  struct Angle {
    double sine;
    double cosine;
  };
  std::uint32_t limit_;
  std::vector<Angle> theta_;
  std::vector<Angle> psi_;
};

}  // namespace jttk
