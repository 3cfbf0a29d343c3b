// Small vectors of doubles for exact geometry.
#pragma once

#include <cmath>
#include <numbers>

#include "host/portable_math.h"

namespace jttk::brep {

namespace portable = loftbay::portable;

inline constexpr double kTurn = 2 * std::numbers::pi;  // radians

struct Vec2 {
  double u = 0;
  double v = 0;
  friend bool operator==(const Vec2&, const Vec2&) = default;
};

inline Vec2 operator+(Vec2 a, Vec2 b) { return {a.u + b.u, a.v + b.v}; }
inline Vec2 operator-(Vec2 a, Vec2 b) { return {a.u - b.u, a.v - b.v}; }
inline Vec2 operator*(Vec2 a, double s) { return {a.u * s, a.v * s}; }

struct Vec3 {
  double x = 0;
  double y = 0;
  double z = 0;
  friend bool operator==(const Vec3&, const Vec3&) = default;
};

inline Vec3 operator+(const Vec3& a, const Vec3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vec3 operator-(const Vec3& a, const Vec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vec3 operator-(const Vec3& a) { return {-a.x, -a.y, -a.z}; }
inline Vec3 operator*(const Vec3& a, double s) { return {a.x * s, a.y * s, a.z * s}; }
inline Vec3& operator+=(Vec3& a, const Vec3& b) { return a = a + b; }
inline double dot(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Vec3 cross(const Vec3& a, const Vec3& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double length(const Vec3& a) { return std::sqrt(dot(a, a)); }
inline double distance(const Vec3& a, const Vec3& b) { return length(a - b); }
inline bool isFinite(const Vec3& a) { return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z); }
// The zero vector where there is no direction.
inline Vec3 normalized(const Vec3& a) {
  const double size = length(a);
  return size > 0 && std::isfinite(size) ? a * (1 / size) : Vec3{};
}
// Some unit vector across `a`.
inline Vec3 anyAcross(const Vec3& a) {
  // Cosine up to which the x axis is used; beyond it, that of the y axis is 0.8 at most.
  constexpr double kNotAlong = 0.6;
  const Vec3 pick = std::abs(a.x) < kNotAlong * length(a) ? Vec3{1, 0, 0} : Vec3{0, 1, 0};
  return normalized(cross(a, pick));
}
// Angle between two directions, 0 to pi.
inline double angleBetween(const Vec3& a, const Vec3& b) {
  return portable::atan2(length(cross(a, b)), dot(a, b));
}

}  // namespace jttk::brep
