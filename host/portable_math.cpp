#include "host/portable_math.h"

#include <cmath>
#include <limits>
#include <numbers>

namespace loftbay::portable {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kPiTail = 0x1.1a62633145c07p-53;  // pi is kPi + kPiTail

// pi / 2 in three parts. The first two have 33 bits each, so that their products with whole numbers of up to
// 20 bits are exact.
constexpr double kQuarterTurn[3] = {0x1.921fb54400000p+0, 0x1.0b4611a600000p-34, 0x1.3198a2e037073p-69};
constexpr double kMostQuarterTurns = 0x1p20;

// The arc tangents of 0/8 .. 8/8.
constexpr double kArcTangents[9] = {0.0,
                                    0.1243549945467614350313,
                                    0.2449786631268641541720,
                                    0.3587706702705722203959,
                                    0.4636476090008061162142,
                                    0.5585993153435624359715,
                                    0.6435011087932843868028,
                                    0.7188299996216245054170,
                                    0.7853981633974483096156};

// An angle within an eighth of a turn to either side, and how many quarter turns were taken off (modulo 4).
struct Reduced {
  double angle;
  double tail;  // what the angle's last place cannot hold
  unsigned quarter;
};

Reduced reduced(double angle) {
  double turns = std::floor(angle / (kPi / 2) + 0.5);
  if (std::abs(turns) >= kMostQuarterTurns) {
    angle = std::fmod(angle, 2 * kPi);
    turns = std::floor(angle / (kPi / 2) + 0.5);
  }
  const double most = (angle - turns * kQuarterTurn[0]) - turns * kQuarterTurn[1];
  const double rest = turns * kQuarterTurn[2];
  const double value = most - rest;
  return {value, (most - value) - rest, static_cast<unsigned>(static_cast<int>(turns)) & 3U};
}

// Taylor's series; the first term left out is below 1e-19 of the value at pi / 4.
double sineNearZero(double x, double tail) {
  const double z = x * x;
  double sum = 1 / 355687428096000.0;  // 1 / 17!
  sum = sum * z - 1 / 1307674368000.0;
  sum = sum * z + 1 / 6227020800.0;
  sum = sum * z - 1 / 39916800.0;
  sum = sum * z + 1 / 362880.0;
  sum = sum * z - 1 / 5040.0;
  sum = sum * z + 1 / 120.0;
  sum = sum * z - 1 / 6.0;
  return x + (x * z * sum + tail * (1 - z / 2));
}

double cosineNearZero(double x, double tail) {
  const double z = x * x;
  double sum = 1 / 6402373705728000.0;  // 1 / 18!
  sum = 1 / 20922789888000.0 - sum * z;
  sum = sum * z - 1 / 87178291200.0;
  sum = sum * z + 1 / 479001600.0;
  sum = sum * z - 1 / 3628800.0;
  sum = sum * z + 1 / 40320.0;
  sum = sum * z - 1 / 720.0;
  sum = sum * z + 1 / 24.0;
  const double half = z / 2;
  const double head = 1 - half;
  return head + (((1 - head) - half) + (z * z * sum - x * tail));
}

// Of 0 .. 1: off to the nearest eighth, then the series.
double arcTangent(double x) {
  const double eighths = std::floor(8 * x + 0.5);
  const double near = eighths / 8;
  const double t = (x - near) / (1 + x * near);
  const double z = t * t;
  double sum = 1 / 15.0;
  sum = 1 / 13.0 - sum * z;
  sum = 1 / 11.0 - sum * z;
  sum = 1 / 9.0 - sum * z;
  sum = 1 / 7.0 - sum * z;
  sum = 1 / 5.0 - sum * z;
  sum = 1 / 3.0 - sum * z;
  return kArcTangents[static_cast<int>(eighths)] + (t - t * z * sum);
}

// 0 or pi as far as the sign bit of x says, with the sign of y.
double onAxis(double y, double x) { return std::copysign(std::signbit(x) ? kPi : 0.0, y); }

}  // namespace

double sin(double angle_rad) {
  if (!std::isfinite(angle_rad)) return std::numeric_limits<double>::quiet_NaN();
  if (angle_rad == 0) return angle_rad;
  const Reduced r = reduced(angle_rad);
  const double value =
      (r.quarter & 1U) == 0 ? sineNearZero(r.angle, r.tail) : cosineNearZero(r.angle, r.tail);
  return (r.quarter & 2U) == 0 ? value : -value;
}

double cos(double angle_rad) {
  if (!std::isfinite(angle_rad)) return std::numeric_limits<double>::quiet_NaN();
  const Reduced r = reduced(angle_rad);
  const double value =
      (r.quarter & 1U) == 0 ? cosineNearZero(r.angle, r.tail) : sineNearZero(r.angle, r.tail);
  return r.quarter == 1 || r.quarter == 2 ? -value : value;
}

double tan(double angle_rad) { return sin(angle_rad) / cos(angle_rad); }

double atan2(double y, double x) {
  if (std::isnan(x) || std::isnan(y)) return std::numeric_limits<double>::quiet_NaN();
  if (y == 0) return onAxis(y, x);
  double across = std::abs(x);
  double up = std::abs(y);
  if (std::isinf(across) && std::isinf(up)) across = up = 1;
  // An arc tangent of at most an eighth of a turn, from the nearest axis.
  double angle = 0;
  if (up <= across) {
    angle = arcTangent(up / across);
    if (std::signbit(x)) angle = kPi - (angle - kPiTail);
  } else {
    angle = arcTangent(across / up);
    angle = std::signbit(x) ? kPi / 2 + (angle + kPiTail / 2) : kPi / 2 - (angle - kPiTail / 2);
  }
  return std::copysign(angle, y);
}

double asin(double sine) { return atan2(sine, std::sqrt((1 - sine) * (1 + sine))); }

double acos(double cosine) { return atan2(std::sqrt((1 - cosine) * (1 + cosine)), cosine); }

double hypot(double x, double y) { return std::sqrt(x * x + y * y); }

double hypot(double x, double y, double z) { return std::sqrt(x * x + y * y + z * z); }

}  // namespace loftbay::portable
