// What tests ask of a triangle mesh: is it closed, how large is it.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <unordered_map>

#include "jttk/brep/tessellate.h"

namespace jttk::brep {

struct MeshMeasures {
  std::size_t triangles = 0;   // with three different positions
  std::size_t degenerate = 0;  // others
  std::size_t open_edges = 0;  // directed edges, by position, without exactly one opposite
  double area = 0;
  double volume = 0;                // signed
  std::size_t against_normals = 0;  // corners whose normal is on the back of the triangle
  std::size_t bad_normals = 0;      // not of unit length
};

// Positions are compared by value: -0 is 0.
inline MeshMeasures measure(const ShapeGeometry& shape) {
  MeshMeasures made;
  struct Key {
    std::array<std::uint32_t, 3> bits;
    bool operator==(const Key&) const = default;
  };
  struct Hash {
    std::size_t operator()(const Key& k) const {
      std::size_t h = 1469598103934665603U;
      for (const std::uint32_t b : k.bits) h = (h ^ b) * 1099511628211U;
      return h;
    }
  };
  std::unordered_map<Key, std::uint32_t, Hash> numbers;
  std::unordered_map<std::uint64_t, int> directed;
  std::vector<std::uint32_t> of_position(shape.positions.size() / 3);
  for (std::size_t i = 0; i < of_position.size(); ++i) {
    Key key{};
    for (std::size_t k = 0; k < 3; ++k) {
      const float value = shape.positions[3 * i + k] + 0.0F;
      std::memcpy(&key.bits[k], &value, sizeof value);
    }
    of_position[i] = numbers.try_emplace(key, static_cast<std::uint32_t>(numbers.size())).first->second;
  }
  const auto at = [&](std::uint32_t p) {
    return Vec3{double{shape.positions[3 * p]}, double{shape.positions[3 * p + 1]},
                double{shape.positions[3 * p + 2]}};
  };
  for (std::size_t t = 0; t + 1 < shape.primitive_starts.size(); ++t) {
    const std::size_t first = shape.primitive_starts[t];
    std::uint32_t ids[3];
    Vec3 p[3];
    for (std::size_t k = 0; k < 3; ++k) {
      ids[k] = of_position[shape.corner_positions[first + k]];
      p[k] = at(shape.corner_positions[first + k]);
    }
    if (ids[0] == ids[1] || ids[1] == ids[2] || ids[2] == ids[0]) {
      ++made.degenerate;
      continue;
    }
    ++made.triangles;
    const Vec3 normal = cross(p[1] - p[0], p[2] - p[0]);
    made.area += length(normal) / 2;
    made.volume += dot(p[0], cross(p[1], p[2])) / 6;
    for (std::size_t k = 0; k < 3; ++k) {
      ++directed[(std::uint64_t{ids[k]} << 32) | ids[(k + 1) % 3]];
      const std::uint32_t r = shape.corner_records[first + k];
      const Vec3 n{double{shape.normals[3 * r]}, double{shape.normals[3 * r + 1]},
                   double{shape.normals[3 * r + 2]}};
      if (std::abs(length(n) - 1) > 1e-5) ++made.bad_normals;
      if (dot(n, normal) < 0) ++made.against_normals;
    }
  }
  for (const auto& [edge, times] : directed) {
    const auto back = directed.find((edge << 32) | (edge >> 32));
    if (times != 1 || back == directed.end() || back->second != 1) ++made.open_edges;
  }
  return made;
}

}  // namespace jttk::brep
