#include "samples/maker/quantise.h"

#include <algorithm>
#include <cmath>

namespace loftbay::maker {
namespace {

// atan(1 / sqrt 2): the latitude of the diagonal, where three sextants meet, as the format rounds it.
constexpr double kPsiMax = 0.615479709;

// Where the three coordinates of a sextant's own frame (x the largest, y the smallest) go.
constexpr int kPlace[6][3] = {{0, 1, 2}, {2, 1, 0}, {1, 2, 0}, {1, 0, 2}, {2, 0, 1}, {0, 2, 1}};

void sextantToAxes(std::uint32_t sextant, const double own[3], double axes[3]) {
  for (int i = 0; i < 3; ++i) axes[i] = own[kPlace[sextant][i]];
}
void axesToSextant(std::uint32_t sextant, const double axes[3], double own[3]) {
  for (int i = 0; i < 3; ++i) own[kPlace[sextant][i]] = axes[i];
}

void decodeToDouble(const NormalCode& code, unsigned bits, double out[3]) {
  const auto steps = static_cast<double>(1U << bits);
  const double c = double(code.theta) + double(code.sextant & 1U);
  const double theta = std::asin(std::min(1.0, std::tan(kPsiMax * (steps - c) / steps)));
  const double psi = kPsiMax * code.psi / steps;
  const double own[3] = {std::cos(theta) * std::cos(psi), std::sin(psi), std::sin(theta) * std::cos(psi)};
  sextantToAxes(code.sextant, own, out);
  if ((code.octant & 4U) == 0) out[0] = -out[0];
  if ((code.octant & 2U) == 0) out[1] = -out[1];
  if ((code.octant & 1U) == 0) out[2] = -out[2];
}

std::uint32_t clampCode(double value, double most) {
  return static_cast<std::uint32_t>(std::clamp(std::round(value), 0.0, most));
}

}  // namespace

std::uint32_t UniformQuantiser::encode(float value) const {
  if (bits == 0 || !(max > min)) return 0;
  const double most = bits == 32 ? 4294967295.0 : double((1U << bits) - 1);
  return clampCode((double(value) - double(min)) * most / (double(max) - double(min)), most);
}

float UniformQuantiser::decode(std::uint32_t code) const {
  if (bits == 0) return min;
  const double most = bits == 32 ? 4294967295.0 : double((1U << bits) - 1);
  return static_cast<float>(code * (double(max) - double(min)) / most + double(min));
}

NormalCode encodeNormal(const Vec3& normal, unsigned bits) {
  const double length =
      std::sqrt(double(normal.x) * normal.x + double(normal.y) * normal.y + double(normal.z) * normal.z);
  const double signed_axes[3] = {length > 0 ? normal.x / length : 1, length > 0 ? normal.y / length : 0,
                                 length > 0 ? normal.z / length : 0};
  NormalCode best;
  double best_match = -2;
  const double axes[3] = {std::fabs(signed_axes[0]), std::fabs(signed_axes[1]), std::fabs(signed_axes[2])};
  const auto steps = static_cast<double>(1U << bits);
  const double slack = 2 / steps;  // near a border the neighbour may hold the better code
  for (std::uint32_t sextant = 0; sextant < 6; ++sextant) {
    double own[3];
    axesToSextant(sextant, axes, own);
    if (own[0] + slack < own[2] || own[2] + slack < own[1]) continue;
    NormalCode code;
    code.sextant = sextant;
    code.octant =
        (signed_axes[0] >= 0 ? 4U : 0U) | (signed_axes[1] >= 0 ? 2U : 0U) | (signed_axes[2] >= 0 ? 1U : 0U);
    const double psi = std::asin(std::min(1.0, own[1]));
    const double cosine = std::cos(psi);
    const double sine = cosine > 0 ? std::min(1.0, own[2] / cosine) : 0;
    const double c = steps * (1 - std::atan(sine) / kPsiMax);
    code.theta = clampCode(c - double(sextant & 1U), steps - 1);
    code.psi = clampCode(psi / kPsiMax * steps, steps - 1);
    double decoded[3];
    decodeToDouble(code, bits, decoded);
    const double match =
        decoded[0] * signed_axes[0] + decoded[1] * signed_axes[1] + decoded[2] * signed_axes[2];
    // A clear gain only, so that rounding in the last bit cannot choose between equal codes.
    if (match > best_match + 1e-12) {
      best_match = match;
      best = code;
    }
  }
  return best;
}

Vec3 decodeNormal(const NormalCode& code, unsigned bits) {
  double axes[3];
  decodeToDouble(code, bits, axes);
  return {static_cast<float>(axes[0]), static_cast<float>(axes[1]), static_cast<float>(axes[2])};
}

PositionQuantisers positionQuantisers(std::span<const Vec3> positions, std::uint8_t bits) {
  PositionQuantisers out;
  for (int a = 0; a < 3; ++a) {
    auto& q = out.axis[a];
    q.bits = bits;
    bool first = true;
    for (const auto& p : positions) {
      const float value = a == 0 ? p.x : a == 1 ? p.y : p.z;
      q.min = first ? value : std::min(q.min, value);
      q.max = first ? value : std::max(q.max, value);
      first = false;
    }
  }
  return out;
}

Shape dequantised(const Shape& shape, const Options& wanted) {
  const Options options = wanted.effective();
  Shape out = shape;
  if (options.coordinate_bits > 0) {
    const auto q = positionQuantisers(shape.positions, options.coordinate_bits);
    for (auto& p : out.positions) {
      p = {q.axis[0].decode(q.axis[0].encode(p.x)), q.axis[1].decode(q.axis[1].encode(p.y)),
           q.axis[2].decode(q.axis[2].encode(p.z))};
    }
  }
  if (options.normal_bits > 0) {
    for (auto& n : out.normals) n = decodeNormal(encodeNormal(n, options.normal_bits), options.normal_bits);
  }
  if (options.color_bits > 0 && !options.hsv_colors) {
    const UniformQuantiser q{0, 1, options.color_bits};
    for (auto& color : out.colors) {
      for (auto& value : color) value = q.decode(q.encode(value));
    }
  }
  return out;
}

}  // namespace loftbay::maker
