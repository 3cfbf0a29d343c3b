#include "tests/samples/test_shapes.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "samples/maker/solids.h"

namespace loftbay::maker::test {
namespace {

void addPolygon(Shape& shape, std::initializer_list<std::uint32_t> corners) {
  shape.corner_positions.insert(shape.corner_positions.end(), corners);
  shape.primitive_starts.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
}

template <typename T>
void appendBits(std::string& text, T value) {
  char raw[sizeof(T)];
  std::memcpy(raw, &value, sizeof(T));
  text.append(raw, sizeof(T));
}

float zeroSign(float value) { return value + 0.0F; }

// Corner texts of one primitive to one text.
std::string joined(std::vector<std::string> corners, bool cyclic) {
  if (cyclic && !corners.empty()) {
    auto best = corners;
    for (std::size_t i = 1; i < corners.size(); ++i) {
      std::rotate(corners.begin(), corners.begin() + 1, corners.end());
      best = std::min(best, corners);
    }
    corners = best;
  }
  std::string out;
  for (const auto& corner : corners) out += corner;
  return out;
}

}  // namespace

Shape openGrid(std::uint32_t columns, std::uint32_t rows) {
  Shape shape;
  for (std::uint32_t y = 0; y <= rows; ++y) {
    for (std::uint32_t x = 0; x <= columns; ++x) {
      shape.positions.push_back({float(x) * 1.25F, float(y) * 0.7F, std::sin(float(x * y) * 0.1F)});
    }
  }
  const auto at = [&](std::uint32_t x, std::uint32_t y) { return y * (columns + 1) + x; };
  for (std::uint32_t y = 0; y < rows; ++y) {
    for (std::uint32_t x = 0; x < columns; ++x) {
      addPolygon(shape, {at(x, y), at(x + 1, y), at(x + 1, y + 1)});
      addPolygon(shape, {at(x, y), at(x + 1, y + 1), at(x, y + 1)});
    }
  }
  return shape;
}

Shape torus(std::uint32_t around, std::uint32_t across) {
  Shape shape;
  for (std::uint32_t i = 0; i < around; ++i) {
    for (std::uint32_t k = 0; k < across; ++k) {
      const float u = 6.2831853F * float(i) / float(around);
      const float v = 6.2831853F * float(k) / float(across);
      const float r = 5 + 2 * std::cos(v);
      shape.positions.push_back({r * std::cos(u), r * std::sin(u), 2 * std::sin(v)});
    }
  }
  const auto at = [&](std::uint32_t i, std::uint32_t k) { return i % around * across + k % across; };
  for (std::uint32_t i = 0; i < around; ++i) {
    for (std::uint32_t k = 0; k < across; ++k) {
      addPolygon(shape, {at(i, k), at(i + 1, k), at(i + 1, k + 1)});
      addPolygon(shape, {at(i, k), at(i + 1, k + 1), at(i, k + 1)});
    }
  }
  return shape;
}

Shape doubleCone(std::uint32_t sides) {
  Shape shape;
  shape.positions = {{0, 0, 3}, {0, 0, -2}};
  for (std::uint32_t i = 0; i < sides; ++i) {
    const float a = 6.2831853F * float(i) / float(sides);
    shape.positions.push_back({std::cos(a), std::sin(a), 0});
  }
  for (std::uint32_t i = 0; i < sides; ++i) {
    const std::uint32_t next = (i + 1) % sides;
    addPolygon(shape, {0, 2 + i, 2 + next});
    addPolygon(shape, {1, 2 + next, 2 + i});
  }
  return shape;
}

Shape tetrahedra(std::uint32_t count) {
  Shape shape;
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto base = static_cast<std::uint32_t>(shape.positions.size());
    const float x = float(i) * 3;
    shape.positions.insert(shape.positions.end(), {{x, 0, 0}, {x + 1, 0, 0}, {x, 1, 0}, {x, 0, 1}});
    addPolygon(shape, {base, base + 2, base + 1});
    addPolygon(shape, {base, base + 1, base + 3});
    addPolygon(shape, {base + 1, base + 2, base + 3});
    addPolygon(shape, {base, base + 3, base + 2});
  }
  return shape;
}

Shape touchingSheets() {
  Shape shape;
  shape.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
  addPolygon(shape, {0, 1, 2});
  addPolygon(shape, {0, 3, 4});
  addPolygon(shape, {0, 2, 5});
  addPolygon(shape, {0, 2, 6});
  addPolygon(shape, {1, 3, 5});
  addPolygon(shape, {3, 1, 6});
  return shape;
}

Shape triangleSoup(std::mt19937& random, std::uint32_t positions, std::uint32_t triangles) {
  Shape shape;
  std::uniform_real_distribution<float> place(-100, 100);
  for (std::uint32_t i = 0; i < positions; ++i) {
    shape.positions.push_back({place(random), place(random), place(random)});
  }
  while (shape.primitiveCount() < triangles) {
    const std::uint32_t a = below(random, positions);
    const std::uint32_t b = below(random, positions);
    const std::uint32_t c = below(random, positions);
    if (a != b && b != c && c != a) addPolygon(shape, {a, b, c});
  }
  return shape;
}

Shape prism(std::uint32_t sides) {
  Shape shape;
  shape.kind = ShapeKind::Polygons;
  for (const float z : {0.0F, 4.0F}) {
    for (std::uint32_t i = 0; i < sides; ++i) {
      const float a = 6.2831853F * float(i) / float(sides);
      shape.positions.push_back({std::cos(a) * 3, std::sin(a) * 3, z});
    }
  }
  for (std::uint32_t i = 0; i < sides; ++i) {
    const std::uint32_t next = (i + 1) % sides;
    addPolygon(shape, {i, next, sides + next, sides + i});
  }
  for (std::uint32_t i = 0; i < sides; ++i) shape.corner_positions.push_back(sides - 1 - i);
  shape.primitive_starts.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
  for (std::uint32_t i = 0; i < sides; ++i) shape.corner_positions.push_back(sides + i);
  shape.primitive_starts.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
  return shape;
}

Shape sieve(std::uint32_t columns, std::uint32_t rows) {
  std::vector<Outline> holes;
  for (std::uint32_t y = 0; y < rows; ++y) {
    for (std::uint32_t x = 0; x < columns; ++x) {
      holes.push_back(reversed(circle(10.0 * x + 5, 10.0 * y + 5, 3, 7)));
    }
  }
  return toShape(extruded(rectangle(0, 0, 10.0 * columns, 10.0 * rows), holes, 2));
}

void scatterRecords(Shape& shape, std::mt19937& random, bool normals, bool colors, bool texture, bool flags) {
  constexpr std::uint32_t kVariants = 3;
  std::uniform_real_distribution<float> value(-1, 1);
  shape.normals.clear();
  shape.corner_records.clear();
  for (std::size_t i = 0; i < shape.positions.size() * kVariants; ++i) {
    const Vec3 n = {value(random), value(random), value(random) + 1.5F};
    const float length = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
    if (normals) shape.normals.push_back({n.x / length, n.y / length, n.z / length});
    const auto share = [&] { return (value(random) + 1) / 2; };
    if (colors) shape.colors.push_back({share(), share(), share(), 1});
    if (texture) shape.texture_coordinates.push_back({value(random) * 4, value(random)});
    if (flags) shape.vertex_flags.push_back(below(random, 2));
  }
  for (const auto p : shape.corner_positions)
    shape.corner_records.push_back(p * kVariants + below(random, kVariants));
}

std::vector<std::string> canonical(const Shape& shape) {
  std::vector<std::string> out;
  const bool cyclic = shape.kind == ShapeKind::Triangles || shape.kind == ShapeKind::Polygons;
  for (std::size_t i = 0; i < shape.primitiveCount(); ++i) {
    std::vector<std::string> corners;
    for (auto c = shape.primitive_starts[i]; c < shape.primitive_starts[i + 1]; ++c) {
      std::string& text = corners.emplace_back();
      const Vec3& p = shape.positions[shape.corner_positions[c]];
      for (const float v : {p.x, p.y, p.z}) appendBits(text, zeroSign(v));
      if (!shape.hasRecords()) continue;
      const std::uint32_t record = shape.corner_records[c];
      if (!shape.normals.empty()) {
        const Vec3& n = shape.normals[record];
        for (const float v : {n.x, n.y, n.z}) appendBits(text, zeroSign(v));
      }
      if (!shape.colors.empty()) {
        for (const float v : shape.colors[record]) appendBits(text, v);
      }
      if (!shape.texture_coordinates.empty()) {
        for (const float v : shape.texture_coordinates[record]) appendBits(text, zeroSign(v));
      }
      if (!shape.vertex_flags.empty()) appendBits(text, shape.vertex_flags[record]);
    }
    if (shape.kind == ShapeKind::Points) {
      out.insert(out.end(), corners.begin(), corners.end());
    } else {
      out.push_back(joined(std::move(corners), cyclic));
    }
  }
  std::sort(out.begin(), out.end());
  return out;
}

std::vector<std::string> canonical(const jttk::ShapeGeometry& geometry, bool texture) {
  std::vector<std::string> out;
  const auto text = [&](std::size_t c) {
    std::string corner;
    for (std::size_t k = 0; k < 3; ++k) {
      appendBits(corner, zeroSign(geometry.positions[3 * std::size_t{geometry.corner_positions[c]} + k]));
    }
    if (geometry.corner_records.empty()) return corner;
    const std::size_t record = geometry.corner_records[c];
    if (!geometry.normals.empty()) {
      for (std::size_t k = 0; k < 3; ++k) appendBits(corner, zeroSign(geometry.normals[3 * record + k]));
    }
    if (!geometry.colors.empty()) {
      for (std::size_t k = 0; k < 4; ++k) appendBits(corner, geometry.colors[4 * record + k]);
    }
    if (texture) {
      for (std::size_t k = 0; k < 2; ++k) {
        appendBits(corner, zeroSign(geometry.texture_coordinates[3 * record + k]));
      }
    }
    if (!geometry.vertex_flags.empty()) appendBits(corner, geometry.vertex_flags[record]);
    return corner;
  };
  for (std::size_t i = 0; i < geometry.primitiveCount(); ++i) {
    const std::size_t begin = geometry.primitive_starts[i];
    const std::size_t end = geometry.primitive_starts[i + 1];
    if (geometry.kind == jttk::PrimitiveKind::TriangleStrips) {
      for (std::size_t k = begin; k + 2 < end; ++k) {
        const bool odd = (k - begin) % 2 == 1;
        const std::vector<std::string> corners = {text(odd ? k + 1 : k), text(odd ? k : k + 1), text(k + 2)};
        const auto position = [&](std::size_t j) { return corners[j].substr(0, 12); };
        if (position(0) == position(1) || position(1) == position(2) || position(2) == position(0)) continue;
        out.push_back(joined(corners, true));
      }
      continue;
    }
    std::vector<std::string> corners;
    for (std::size_t c = begin; c < end; ++c) corners.push_back(text(c));
    if (geometry.kind == jttk::PrimitiveKind::Points) {
      out.insert(out.end(), corners.begin(), corners.end());
    } else {
      out.push_back(joined(std::move(corners), geometry.kind == jttk::PrimitiveKind::Polygons));
    }
  }
  std::sort(out.begin(), out.end());
  return out;
}

}  // namespace loftbay::maker::test
