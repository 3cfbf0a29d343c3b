#include "tests/jttk/support/shape_figures.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>

namespace jttk::testing {
namespace {

using Position = std::array<float, 3>;

// The 12 bytes of a position in checksums: little-endian floats, no minus zero.
std::array<std::uint8_t, 12> positionBytes(const Position& position) {
  std::array<std::uint8_t, 12> bytes{};
  for (std::size_t i = 0; i < 3; ++i) {
    const auto bits = std::bit_cast<std::uint32_t>(position[i] == 0.0F ? 0.0F : position[i]);
    for (std::size_t k = 0; k < 4; ++k) bytes[i * 4 + k] = static_cast<std::uint8_t>(bits >> (8 * k));
  }
  return bytes;
}

// FNV-1a of the three positions, starting so that the bytes are the smallest of the three rotations.
std::uint64_t triangleChecksum(const std::array<Position, 3>& triangle) {
  std::array<std::uint8_t, 36> least{};
  for (std::size_t start = 0; start < 3; ++start) {
    std::array<std::uint8_t, 36> rotation{};
    for (std::size_t i = 0; i < 3; ++i) {
      const auto bytes = positionBytes(triangle[(start + i) % 3]);
      std::copy(bytes.begin(), bytes.end(), rotation.begin() + static_cast<std::ptrdiff_t>(i * 12));
    }
    if (start == 0 || rotation < least) least = rotation;
  }
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const std::uint8_t byte : least) hash = (hash ^ byte) * 0x100000001b3U;
  return hash;
}

Vector operator-(const Vector& a, const Vector& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Vector cross(const Vector& a, const Vector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double dot(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
double length(const Vector& a) { return std::sqrt(dot(a, a)); }
Vector vectorOf(const float* values) { return {values[0], values[1], values[2]}; }

Position positionOf(const ShapeGeometry& shape, std::size_t corner) {
  const float* p = &shape.positions[std::size_t{shape.corner_positions[corner]} * 3];
  return {p[0], p[1], p[2]};
}

void addMoment(double& sum, double& magnitude, double area, double a, double b, double c) {
  sum += area * ((a + b + c) / 3);
  magnitude += area * std::abs((a + b + c) / 3);
}

void addNormals(const ShapeGeometry& shape, const std::array<std::size_t, 3>& corners, const Vector& face,
                ShapeFigures& figures) {
  if (shape.normals.empty()) return;
  for (const std::size_t corner : corners) {
    if (shape.corner_records[corner] == ShapeGeometry::kNoRecord) continue;
    const Vector normal = vectorOf(&shape.normals[std::size_t{shape.corner_records[corner]} * 3]);
    const double size = length(normal);
    if (size == 0) continue;
    figures.normal_sum.x += normal.x / size;
    figures.normal_sum.y += normal.y / size;
    figures.normal_sum.z += normal.z / size;
    if (dot(normal, face) > 0) ++figures.normals_agree;
    if (dot(normal, face) < 0) ++figures.normals_against;
  }
}

void addTriangle(const ShapeGeometry& shape, const std::array<std::size_t, 3>& corners,
                 ShapeFigures& figures) {
  const std::array<Position, 3> points = {positionOf(shape, corners[0]), positionOf(shape, corners[1]),
                                          positionOf(shape, corners[2])};
  const std::uint64_t checksum = triangleChecksum(points);
  ++figures.triangles;
  figures.checksum += checksum;
  if (points[0] == points[1] || points[1] == points[2] || points[0] == points[2]) return;
  ++figures.triangles_nd;
  figures.checksum_nd += checksum;
  const Vector a = vectorOf(points[0].data());
  const Vector b = vectorOf(points[1].data());
  const Vector c = vectorOf(points[2].data());
  const Vector face = cross(b - a, c - a);
  const double area = length(face) / 2;
  figures.area += area;
  figures.volume6 += dot(a, cross(b, c));
  figures.volume6_magnitude += std::abs(dot(a, cross(b, c)));
  addMoment(figures.moment.x, figures.moment_magnitude.x, area, a.x, b.x, c.x);
  addMoment(figures.moment.y, figures.moment_magnitude.y, area, a.y, b.y, c.y);
  addMoment(figures.moment.z, figures.moment_magnitude.z, area, a.z, b.z, c.z);
  addNormals(shape, corners, face, figures);
}

void addStrip(const ShapeGeometry& shape, std::size_t first, std::size_t end, ShapeFigures& figures) {
  for (std::size_t k = first; k + 2 < end; ++k) {
    const bool odd = (k - first) % 2 != 0;
    addTriangle(shape, odd ? std::array{k + 1, k, k + 2} : std::array{k, k + 1, k + 2}, figures);
  }
}

void addPrimitive(const ShapeGeometry& shape, std::size_t first, std::size_t end, ShapeFigures& figures) {
  figures.max_polygon = std::max(figures.max_polygon, end - first);
  switch (shape.kind) {
    case PrimitiveKind::TriangleStrips:
      return addStrip(shape, first, end, figures);
    case PrimitiveKind::Polygons:
      for (std::size_t k = first + 1; k + 1 < end; ++k) addTriangle(shape, {first, k, k + 1}, figures);
      return;
    case PrimitiveKind::Polylines:
      figures.line_segments += end > first ? end - first - 1 : 0;
      return;
    case PrimitiveKind::Points:
      figures.points += end - first;
      return;
    case PrimitiveKind::Empty:
      return;
  }
}

}  // namespace

ShapeFigures figuresOf(const ShapeGeometry& shape) {
  ShapeFigures figures;
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  figures.box = {kInfinite, kInfinite, kInfinite, -kInfinite, -kInfinite, -kInfinite};
  for (std::size_t corner = 0; corner < shape.corner_positions.size(); ++corner) {
    const Position p = positionOf(shape, corner);
    for (std::size_t i = 0; i < 3; ++i) {
      figures.box[i] = std::min(figures.box[i], double{p[i]});
      figures.box[i + 3] = std::max(figures.box[i + 3], double{p[i]});
    }
  }
  for (std::size_t i = 0; i < shape.primitiveCount(); ++i) {
    addPrimitive(shape, shape.primitive_starts[i], shape.primitive_starts[i + 1], figures);
  }
  return figures;
}

const char* kindName(PrimitiveKind kind) {
  switch (kind) {
    case PrimitiveKind::TriangleStrips:
      return "strips";
    case PrimitiveKind::Polygons:
      return "polygons";
    case PrimitiveKind::Polylines:
      return "polylines";
    case PrimitiveKind::Points:
      return "points";
    case PrimitiveKind::Empty:
      return "empty";
  }
  return "";
}

std::string hex(std::uint64_t value) {
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value));
  return text;
}

}  // namespace jttk::testing
