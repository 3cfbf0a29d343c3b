#include "samples/maker/solids.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace loftbay::maker {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kGrid = 1024;  // positions
constexpr double kNormalGrid = 1 << 20;

double radians(double degrees) { return degrees * kPi / 180; }
std::uint32_t index(std::size_t i) { return static_cast<std::uint32_t>(i); }

using Vector = std::array<double, 3>;

Vector minus(const Vector& a, const Vector& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
double dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vector cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Vector unit(const Vector& a) {
  const double length = std::sqrt(dot(a, a));
  return length > 0 ? Vector{a[0] / length, a[1] / length, a[2] / length} : Vector{0, 0, 1};
}

// Exact for quarter turns.
Point2 direction(double angle_deg) {
  const double quarter = angle_deg / 90;
  if (quarter == std::round(quarter)) {
    constexpr Point2 kQuarters[] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
    return kQuarters[static_cast<std::size_t>((static_cast<long>(quarter) % 4 + 4) % 4)];
  }
  return {std::cos(radians(angle_deg)), std::sin(radians(angle_deg))};
}

Solid& turn(Solid& solid, std::size_t from, std::size_t to, double angle_deg) {
  const Point2 d = direction(angle_deg);
  for (auto& p : solid.positions) {
    const double a = p[from];
    const double b = p[to];
    p[from] = a * d.x - b * d.y;
    p[to] = a * d.y + b * d.x;
  }
  return solid;
}

}  // namespace

Solid& Solid::move(double x, double y, double z) {
  for (auto& p : positions) p = {p[0] + x, p[1] + y, p[2] + z};
  return *this;
}
Solid& Solid::turnX(double angle_deg) { return turn(*this, 1, 2, angle_deg); }
Solid& Solid::turnY(double angle_deg) { return turn(*this, 2, 0, angle_deg); }

Solid& Solid::add(const Solid& other) {
  const std::uint32_t base = index(positions.size());
  positions.insert(positions.end(), other.positions.begin(), other.positions.end());
  for (const auto& t : other.triangles) triangles.push_back({t[0] + base, t[1] + base, t[2] + base});
  return *this;
}

Solid box(double size_x, double size_y, double size_z) {
  return extruded(rectangle(-size_x / 2, -size_y / 2, size_x / 2, size_y / 2), {}, size_z);
}

Solid turned(const Outline& profile, std::size_t segments) {
  Solid solid;
  std::vector<std::uint32_t> ring(profile.size());
  for (std::size_t i = 0; i < profile.size(); ++i) {
    ring[i] = index(solid.positions.size());
    const std::size_t copies = profile[i].x == 0 ? 1 : segments;
    for (std::size_t s = 0; s < copies; ++s) {
      const Point2 d = direction(360.0 * double(s) / double(segments));
      solid.positions.push_back({profile[i].x * d.x, profile[i].x * d.y, profile[i].y});
    }
  }
  const auto at = [&](std::size_t i, std::size_t s) {
    return ring[i] + (profile[i].x == 0 ? 0 : index(s % segments));
  };
  for (std::size_t i = 0; i < profile.size(); ++i) {
    const std::size_t j = (i + 1) % profile.size();
    for (std::size_t s = 0; s < segments; ++s) {
      if (profile[i].x != 0) solid.triangles.push_back({at(i, s), at(i, s + 1), at(j, s)});
      if (profile[j].x != 0) solid.triangles.push_back({at(i, s + 1), at(j, s + 1), at(j, s)});
    }
  }
  // An edge between two poles lies on the axis: both triangles were left out, as they should be.
  return solid;
}

Solid ball(double radius, std::size_t segments) {
  Outline profile = {{0, -radius}};
  const std::size_t rows = segments / 2;
  for (std::size_t i = 1; i < rows; ++i) {
    const Point2 d = direction(-90 + 180.0 * double(i) / double(rows));
    profile.push_back({radius * d.x, radius * d.y});
  }
  profile.push_back({0, radius});
  return turned(profile, segments);
}

Solid extruded(const Outline& outline, const std::vector<Outline>& holes, double height) {
  Solid solid;
  const auto caps = triangulated(outline, holes);
  std::vector<const Outline*> loops = {&outline};
  for (const auto& hole : holes) loops.push_back(&hole);
  for (const double z : {0.0, height}) {
    for (const auto* loop : loops) {
      for (const auto& p : *loop) solid.positions.push_back({p.x, p.y, z});
    }
  }
  const std::uint32_t up = index(solid.positions.size() / 2);
  for (const auto& t : caps) {
    solid.triangles.push_back({t[2], t[1], t[0]});
    solid.triangles.push_back({t[0] + up, t[1] + up, t[2] + up});
  }
  std::uint32_t base = 0;
  for (const auto* loop : loops) {
    const std::uint32_t n = index(loop->size());
    for (std::uint32_t i = 0; i < n; ++i) {
      const std::uint32_t a = base + i;
      const std::uint32_t b = base + (i + 1) % n;
      solid.triangles.push_back({a, b, b + up});
      solid.triangles.push_back({a, b + up, a + up});
    }
    base += n;
  }
  return solid;
}

Solid pipe(const std::vector<std::array<double, 3>>& path, double radius, std::size_t segments) {
  Solid solid;
  Vector side = {0, 0, 0};
  for (std::size_t i = 0; i < path.size(); ++i) {
    const Vector along = unit(minus(path[std::min(i + 1, path.size() - 1)], path[i == 0 ? 0 : i - 1]));
    if (i == 0) side = std::fabs(along[2]) < 0.9 ? Vector{0, 0, 1} : Vector{1, 0, 0};
    const double share = dot(side, along);
    side = unit({side[0] - share * along[0], side[1] - share * along[1], side[2] - share * along[2]});
    const Vector other = cross(along, side);
    for (std::size_t s = 0; s < segments; ++s) {
      const Point2 d = direction(360.0 * double(s) / double(segments));
      Vector p{};
      for (std::size_t k = 0; k < 3; ++k) p[k] = path[i][k] + radius * (d.x * side[k] + d.y * other[k]);
      solid.positions.push_back(p);
    }
  }
  const auto at = [&](std::size_t i, std::size_t s) { return index(i * segments + s % segments); };
  for (std::size_t i = 0; i + 1 < path.size(); ++i) {
    for (std::size_t s = 0; s < segments; ++s) {
      solid.triangles.push_back({at(i, s), at(i, s + 1), at(i + 1, s + 1)});
      solid.triangles.push_back({at(i, s), at(i + 1, s + 1), at(i + 1, s)});
    }
  }
  for (std::size_t s = 1; s + 1 < segments; ++s) {
    solid.triangles.push_back({at(0, 0), at(0, s + 1), at(0, s)});
    const std::size_t last = path.size() - 1;
    solid.triangles.push_back({at(last, 0), at(last, s), at(last, s + 1)});
  }
  return solid;
}

Outline circle(double x, double y, double radius, std::size_t segments) {
  Outline out;
  for (std::size_t s = 0; s < segments; ++s) {
    const Point2 d = direction(360.0 * double(s) / double(segments));
    out.push_back({x + radius * d.x, y + radius * d.y});
  }
  return out;
}

Outline rectangle(double x0, double y0, double x1, double y1) {
  return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
}

Outline reversed(Outline outline) {
  std::reverse(outline.begin(), outline.end());
  return outline;
}

Outline lever(const Point2& a, double radius_a, const Point2& b, double radius_b, std::size_t segments) {
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  const double axis_rad = std::atan2(dy, dx);
  const double lean_rad = std::acos((radius_a - radius_b) / std::sqrt(dx * dx + dy * dy));
  Outline out;
  const auto arc = [&](const Point2& centre, double radius, double from_rad, double to_rad) {
    for (std::size_t s = 0; s <= segments; ++s) {
      const double angle_rad = from_rad + (to_rad - from_rad) * double(s) / double(segments);
      out.push_back({centre.x + radius * std::cos(angle_rad), centre.y + radius * std::sin(angle_rad)});
    }
  };
  arc(b, radius_b, axis_rad - lean_rad, axis_rad + lean_rad);
  arc(a, radius_a, axis_rad + lean_rad, axis_rad + 2 * kPi - lean_rad);
  return out;
}

Outline gear(std::size_t teeth, double root_radius, double tip_radius) {
  Outline out;
  const double pitch = 360.0 / double(teeth);
  for (std::size_t t = 0; t < teeth; ++t) {
    const double start = pitch * double(t);
    for (const auto& [share, radius] :
         {std::pair{0.0, root_radius}, std::pair{0.22, root_radius}, std::pair{0.38, tip_radius},
          std::pair{0.62, tip_radius}, std::pair{0.78, root_radius}}) {
      const Point2 d = direction(start + share * pitch);
      out.push_back({radius * d.x, radius * d.y});
    }
  }
  return out;
}

Shape toShape(const Solid& solid, double crease_deg) {
  Shape shape;
  const double crease = std::cos(radians(crease_deg));
  for (const auto& p : solid.positions) {
    const auto rounded = [](double v) { return static_cast<float>(std::round(v * kGrid) / kGrid + 0.0); };
    shape.positions.push_back({rounded(p[0]), rounded(p[1]), rounded(p[2])});
  }
  std::vector<Vector> facets;
  std::vector<std::vector<std::uint32_t>> around(solid.positions.size());
  for (std::size_t t = 0; t < solid.triangles.size(); ++t) {
    const auto& [a, b, c] = solid.triangles[t];
    const auto& p = solid.positions;
    facets.push_back(cross(minus(p[b], p[a]), minus(p[c], p[a])));  // as long as twice the area
    for (const auto v : solid.triangles[t]) around[v].push_back(index(t));
  }
  for (std::size_t t = 0; t < solid.triangles.size(); ++t) {
    const Vector own = unit(facets[t]);
    for (const auto v : solid.triangles[t]) {
      Vector sum = {0, 0, 0};
      for (const auto other : around[v]) {
        if (dot(own, unit(facets[other])) < crease) continue;
        for (std::size_t k = 0; k < 3; ++k) sum[k] += facets[other][k];
      }
      sum = unit(sum);
      const auto rounded = [](double x) {
        return static_cast<float>(std::round(x * kNormalGrid) / kNormalGrid + 0.0);
      };
      const Vec3 normal = {rounded(sum[0]), rounded(sum[1]), rounded(sum[2])};
      // The same normal at the same position is the same record.
      std::uint32_t record = index(shape.normals.size());
      for (const auto other : around[v]) {
        if (other >= t) break;
        for (std::size_t k = 0; k < 3; ++k) {
          const std::uint32_t c = shape.corner_records[std::size_t{3} * other + k];
          if (solid.triangles[other][k] == v && shape.normals[c] == normal) record = c;
        }
      }
      if (record == shape.normals.size()) shape.normals.push_back(normal);
      shape.corner_positions.push_back(v);
      shape.corner_records.push_back(record);
    }
    shape.primitive_starts.push_back(index(shape.corner_positions.size()));
  }
  return shape;
}

Matrix translation(double x, double y, double z) {
  Matrix m = kIdentity;
  m[12] = x;
  m[13] = y;
  m[14] = z;
  return m;
}

Matrix rotationZ(double angle_deg) {
  const Point2 d = direction(angle_deg);
  return {d.x, d.y, 0, 0, -d.y, d.x, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
}
Matrix rotationY(double angle_deg) {
  const Point2 d = direction(angle_deg);
  return {d.x, 0, -d.y, 0, 0, 1, 0, 0, d.y, 0, d.x, 0, 0, 0, 0, 1};
}

Matrix multiplied(const Matrix& first, const Matrix& second) {
  Matrix out{};
  for (std::size_t r = 0; r < 4; ++r) {
    for (std::size_t c = 0; c < 4; ++c) {
      for (std::size_t k = 0; k < 4; ++k) out[4 * r + c] += first[4 * r + k] * second[4 * k + c];
    }
  }
  return out;
}

Matrix placed(double x, double y, double z, double turn_z_deg) {
  return multiplied(rotationZ(turn_z_deg), translation(x, y, z));
}

}  // namespace loftbay::maker
