#include "jttk/codec/primitives/primitive_solid.h"

#include <cmath>
#include <initializer_list>
#include <numbers>

#include "host/portable_math.h"
#include "jttk/mesh/vector3.h"

namespace jttk {

namespace {

// Appends the points, normals and polygons of one solid to the mesh.
class MeshWriter {
 public:
  MeshWriter(const Solid& solid, bool with_color, ShapeGeometry& mesh)
      : solid_(solid), with_color_(with_color), mesh_(mesh), first_position_(mesh.positions.size() / 3) {
    if (mesh.primitive_starts.empty()) mesh.primitive_starts.push_back(0);
  }

  // Numbered from 0 within the solid.
  void point(double x, double y, double z) {
    points_.push_back({x, y, z});
    const Vector3 p = turned({x, y, z});
    for (std::size_t k = 0; k < 3; ++k)
      mesh_.positions.push_back(static_cast<float>(p[k] + solid_.origin[k]));
  }

  // The record of a normal, which needs no length.
  std::uint32_t record(const Vector3& normal) {
    const auto number = static_cast<std::uint32_t>(mesh_.normals.size() / 3);
    const Vector3 n = turned(normal);
    const double length = jttk::length(n);
    for (const double c : n) mesh_.normals.push_back(static_cast<float>(length > 0 ? c / length : 0));
    if (with_color_) {
      mesh_.colors.insert(mesh_.colors.end(), {solid_.color[0], solid_.color[1], solid_.color[2], 1.0F});
    }
    return number;
  }

  void corner(std::size_t point, std::uint32_t record) {
    mesh_.corner_positions.push_back(static_cast<std::uint32_t>(first_position_ + point));
    mesh_.corner_records.push_back(record);
  }
  void endPolygon() {
    mesh_.primitive_starts.push_back(static_cast<std::uint32_t>(mesh_.corner_positions.size()));
  }

  // A flat polygon; its normal follows from its corners.
  void face(std::initializer_list<std::size_t> corners) {
    const std::size_t* c = corners.begin();
    const std::uint32_t flat =
        record(cross(minus(points_[c[1]], points_[c[0]]), minus(points_[c[2]], points_[c[0]])));
    for (const std::size_t point : corners) corner(point, flat);
    endPolygon();
  }

 private:
  [[nodiscard]] Vector3 turned(const Vector3& p) const {
    const Rotation& r = solid_.rotation;
    return {r[0] * p[0] + r[1] * p[1] + r[2] * p[2], r[3] * p[0] + r[4] * p[1] + r[5] * p[2],
            r[6] * p[0] + r[7] * p[1] + r[8] * p[2]};
  }

  const Solid& solid_;
  bool with_color_;
  ShapeGeometry& mesh_;
  std::size_t first_position_;
  std::vector<Vector3> points_;
};

// Cosine and sine of every corner of a regular polygon; those on the axes are exact.
std::vector<std::array<double, 2>> circle(std::size_t sides) {
  std::vector<std::array<double, 2>> points(sides);
  for (std::size_t i = 0; i < sides; ++i) {
    const double angle = 2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(sides);
    points[i] = {loftbay::portable::cos(angle), loftbay::portable::sin(angle)};
  }
  points[sides / 4] = {0, 1};
  points[sides / 2] = {-1, 0};
  points[sides / 4 * 3] = {0, -1};
  return points;
}

void writeBox(const Solid& s, MeshWriter& out) {
  for (int i = 0; i < 8; ++i) {
    out.point((i & 1) != 0 ? s.high[0] : s.low[0], (i & 2) != 0 ? s.high[1] : s.low[1],
              (i & 4) != 0 ? s.high[2] : s.low[2]);
  }
  out.face({0, 2, 3, 1});
  out.face({4, 5, 7, 6});
  out.face({0, 1, 5, 4});
  out.face({2, 6, 7, 3});
  out.face({0, 4, 6, 2});
  out.face({1, 3, 7, 5});
}

void writePyramid(const Solid& s, MeshWriter& out) {
  out.point(s.low[0], s.low[1], s.low[2]);
  out.point(s.high[0], s.low[1], s.low[2]);
  out.point(s.high[0], s.high[1], s.low[2]);
  out.point(s.low[0], s.high[1], s.low[2]);
  out.point((s.low[0] + s.high[0]) / 2, (s.low[1] + s.high[1]) / 2, s.high[2]);
  out.face({0, 3, 2, 1});
  out.face({0, 1, 4});
  out.face({1, 2, 4});
  out.face({2, 3, 4});
  out.face({3, 0, 4});
}

// Points 0, 1, 2 are one triangle, 3, 4, 5 the other; seen from the side of 0, 1, 2 these run clockwise.
void writePrism(const Solid& s, MeshWriter& out) {
  const double tip = s.low[0] + s.tip * (s.high[0] - s.low[0]);
  if (s.pulled_along_y) {
    for (const double y : {s.high[1], s.low[1]}) {
      out.point(s.low[0], y, s.low[2]);
      out.point(s.high[0], y, s.low[2]);
      out.point(tip, y, s.high[2]);
    }
  } else {
    for (const double z : {s.low[2], s.high[2]}) {
      out.point(s.low[0], s.low[1], z);
      out.point(s.high[0], s.low[1], z);
      out.point(tip, s.high[1], z);
    }
  }
  out.face({0, 2, 1});
  out.face({3, 4, 5});
  out.face({0, 1, 4, 3});
  out.face({1, 2, 5, 4});
  out.face({2, 0, 3, 5});
}

void writeFrustum(const Solid& s, std::size_t sides, MeshWriter& out) {
  const auto around = circle(sides);
  const Vector3 middle = {(s.low[0] + s.high[0]) / 2, (s.low[1] + s.high[1]) / 2, 0};
  const double a = (s.high[0] - s.low[0]) / 2;
  const double b = (s.high[1] - s.low[1]) / 2;
  for (const std::size_t end : {std::size_t{0}, std::size_t{1}}) {
    for (const auto& [cosine, sine] : around) {
      out.point(middle[0] + a * s.end_scale[end] * cosine, middle[1] + b * s.end_scale[end] * sine,
                end == 0 ? s.low[2] : s.high[2]);
    }
  }
  const std::uint32_t down = out.record({0, 0, -1});
  for (std::size_t i = sides; i-- > 0;) out.corner(i, down);
  out.endPolygon();
  const std::uint32_t up = out.record({0, 0, 1});
  for (std::size_t i = 0; i < sides; ++i) out.corner(sides + i, up);
  out.endPolygon();
  // The slope is the change of scale along the axis.
  const double slope = (s.end_scale[1] - s.end_scale[0]) / (s.high[2] - s.low[2]);
  const std::uint32_t first = up + 1;
  for (const auto& [cosine, sine] : around) out.record({b * cosine, a * sine, -a * b * slope});
  for (std::size_t i = 0; i < sides; ++i) {
    const std::size_t next = (i + 1) % sides;
    const auto record = [&](std::size_t k) { return first + static_cast<std::uint32_t>(k); };
    out.corner(i, record(i));
    out.corner(next, record(next));
    out.corner(sides + next, record(next));
    out.corner(sides + i, record(i));
    out.endPolygon();
  }
}

// Point 0 is the lower pole, then ring by ring, the last point is the upper pole; records are numbered alike.
void writeEllipsoid(const Solid& s, std::size_t sides, MeshWriter& out) {
  const auto around = circle(sides);
  const std::size_t rings = sides / 2 - 1;
  Vector3 middle{};
  Vector3 radius{};
  for (std::size_t k = 0; k < 3; ++k) {
    middle[k] = (s.low[k] + s.high[k]) / 2;
    radius[k] = (s.high[k] - s.low[k]) / 2;
  }
  std::uint32_t first = 0;
  const auto add = [&](double x, double y, double z) {
    out.point(middle[0] + radius[0] * x, middle[1] + radius[1] * y, middle[2] + radius[2] * z);
    return out.record({x / radius[0], y / radius[1], z / radius[2]});
  };
  first = add(0, 0, -1);
  for (std::size_t ring = 1; ring <= rings; ++ring) {
    // Half a circle from pole to pole, in steps as long as those around.
    const double angle = std::numbers::pi * static_cast<double>(ring) / static_cast<double>(rings + 1);
    const double level = 2 * ring == rings + 1 ? 0 : -loftbay::portable::cos(angle);
    const double wide = 2 * ring == rings + 1 ? 1 : loftbay::portable::sin(angle);
    for (const auto& [cosine, sine] : around) add(wide * cosine, wide * sine, level);
  }
  add(0, 0, 1);
  const std::size_t last = 1 + rings * sides;
  const auto corner = [&](std::size_t point) {
    out.corner(point, first + static_cast<std::uint32_t>(point));
  };
  for (std::size_t i = 0; i < sides; ++i) {
    const std::size_t next = (i + 1) % sides;
    corner(0);
    corner(1 + next);
    corner(1 + i);
    out.endPolygon();
    for (std::size_t ring = 1; ring < rings; ++ring) {
      const std::size_t below = 1 + (ring - 1) * sides;
      corner(below + i);
      corner(below + next);
      corner(below + sides + next);
      corner(below + sides + i);
      out.endPolygon();
    }
    corner(last - sides + i);
    corner(last - sides + next);
    corner(last);
    out.endPolygon();
  }
}

}  // namespace

Rotation rotationOf(const std::array<double, 4>& xyzw) {
  const double length =
      std::sqrt(xyzw[0] * xyzw[0] + xyzw[1] * xyzw[1] + xyzw[2] * xyzw[2] + xyzw[3] * xyzw[3]);
  const double x = xyzw[0] / length;
  const double y = xyzw[1] / length;
  const double z = xyzw[2] / length;
  const double w = xyzw[3] / length;
  return {1 - 2 * (y * y + z * z), 2 * (x * y - z * w),     2 * (x * z + y * w),
          2 * (x * y + z * w),     1 - 2 * (x * x + z * z), 2 * (y * z - x * w),
          2 * (x * z - y * w),     2 * (y * z + x * w),     1 - 2 * (x * x + y * y)};
}

std::size_t cornerCount(Solid::Kind kind, std::size_t circle_sides) {
  switch (kind) {
    case Solid::Kind::Box:
      return 24;
    case Solid::Kind::Pyramid:
      return 16;
    case Solid::Kind::Prism:
      return 18;
    case Solid::Kind::Frustum:
      return 6 * circle_sides;
    case Solid::Kind::Ellipsoid:
      break;
  }
  return circle_sides * (6 + 4 * (circle_sides / 2 - 2));
}

void appendMesh(const Solid& solid, std::size_t circle_sides, bool with_color, ShapeGeometry& mesh) {
  MeshWriter out(solid, with_color, mesh);
  switch (solid.kind) {
    case Solid::Kind::Box:
      return writeBox(solid, out);
    case Solid::Kind::Pyramid:
      return writePyramid(solid, out);
    case Solid::Kind::Prism:
      return writePrism(solid, out);
    case Solid::Kind::Frustum:
      return writeFrustum(solid, circle_sides, out);
    case Solid::Kind::Ellipsoid:
      return writeEllipsoid(solid, circle_sides, out);
  }
}

}  // namespace jttk
