// What the topology decoder says of triangles' neighbours against what is found by looking at their corners.
#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <vector>

#include "jttk/codec/v9/topology.h"
#include "jttk/mesh/triangle_edges.h"
#include "samples/maker/bench_models.h"
#include "samples/maker/pieces/shapes.h"
#include "samples/maker/topology.h"
#include "tests/jttk/support/from_maker.h"

namespace {

using jttk::Topology;
using jttk::TopologySymbols;
using jttk::from_maker::symbolsOf;
using loftbay::maker::Shape;

Topology decoded(const TopologySymbols& symbols) {
  auto mesh = jttk::decodeTopology(symbols, jttk::PacketForm::V9, 0);
  EXPECT_TRUE(mesh.has_value());
  return mesh ? *std::move(mesh) : Topology{};
}

std::vector<std::uint32_t> foundNeighbours(const Topology& mesh) {
  std::vector<std::uint32_t> corners(mesh.corner_vertices.size());
  std::iota(corners.begin(), corners.end(), 0U);
  return jttk::neighboursOfTriangles(corners, mesh.corner_vertices, mesh.corner_records);
}

// A sheet of `size` x `size` squares, two triangles each. `records(triangle)`: that of its corners.
template <typename Records>
Shape sheet(std::uint32_t size, Records records) {
  Shape shape;
  for (std::uint32_t y = 0; y <= size; ++y) {
    for (std::uint32_t x = 0; x <= size; ++x)
      shape.positions.push_back({static_cast<float>(x), static_cast<float>(y), 0});
  }
  const auto add = [&](std::initializer_list<std::uint32_t> corners) {
    const std::uint32_t record = records(shape.primitive_starts.size() - 1);
    shape.corner_positions.insert(shape.corner_positions.end(), corners);
    shape.corner_records.insert(shape.corner_records.end(), corners.size(), record);
    while (shape.normals.size() <= record) shape.normals.push_back({0, 0, 1});
    shape.primitive_starts.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
  };
  for (std::uint32_t y = 0; y < size; ++y) {
    for (std::uint32_t x = 0; x < size; ++x) {
      const std::uint32_t a = y * (size + 1) + x;
      const std::uint32_t b = a + size + 1;
      add({a, a + 1, b + 1});
      add({a, b + 1, b});
    }
  }
  return shape;
}

TEST(TopologyNeighbours, OfAClosedSurface) {
  const Topology mesh = decoded(symbolsOf(encodeTopology(loftbay::maker::wavyTorus(2'000, 1), false)));
  EXPECT_EQ(mesh.covers, 0U);
  ASSERT_FALSE(mesh.neighbours.empty());
  EXPECT_EQ(mesh.neighbours, foundNeighbours(mesh));
}

TEST(TopologyNeighbours, OfASurfaceWithACoverLeftOut) {
  const Topology mesh = decoded(symbolsOf(encodeTopology(sheet(9, [](std::size_t) { return 0U; }), false)));
  EXPECT_EQ(mesh.covers, 1U);
  ASSERT_FALSE(mesh.neighbours.empty());
  EXPECT_EQ(mesh.neighbours, foundNeighbours(mesh));
}

TEST(TopologyNeighbours, OfATriangleWhoseCoverIsATriangleToo) {
  const Topology mesh = decoded(symbolsOf(loftbay::maker::pieces::triangleSymbols()));
  EXPECT_EQ(mesh.covers, 1U);
  EXPECT_EQ(mesh.neighbours, (std::vector<std::uint32_t>(4, jttk::triangle_edges::kNoEdge)));
}

TEST(TopologyNeighbours, EndWhereRecordsDiffer) {
  const Topology one = decoded(symbolsOf(encodeTopology(sheet(9, [](std::size_t) { return 0U; }), false)));
  const Topology several = decoded(symbolsOf(
      encodeTopology(sheet(9, [](std::size_t i) { return static_cast<std::uint32_t>(i / 7); }), false)));
  ASSERT_FALSE(several.neighbours.empty());
  EXPECT_EQ(several.neighbours, foundNeighbours(several));
  EXPECT_NE(several.neighbours, one.neighbours);
}

// Other polygons are fanned, and their triangles have neighbours inside of them.
TEST(TopologyNeighbours, AreNotGivenForOtherPolygons) {
  EXPECT_TRUE(decoded(symbolsOf(loftbay::maker::pieces::cubeSymbols(1))).neighbours.empty());
}

// Two vertices of degree 4 with two edges between them, and a vertex of degree 2 on each side: of four
// triangles two go from the first to the second, and by their vertices either can be meant.
TEST(TopologyNeighbours, AreNotGivenWhereTwoEdgesLeadToTheSameVertex) {
  TopologySymbols symbols;
  symbols.valences = {3, 3, 3, 3};
  symbols.degrees[1] = {4};
  symbols.degrees[0] = {4, 2, 2};
  const Topology mesh = decoded(symbols);
  EXPECT_EQ(mesh.vertices, 4U);
  EXPECT_EQ(mesh.components, 1U);
  EXPECT_TRUE(mesh.neighbours.empty());
}

// Soups of triangles over few positions, which the coder takes apart into sheets.
TEST(TopologyNeighbours, OfRandomTrianglesAreThoseThatAreFoundOrNone) {
  std::mt19937 random(4);
  int given = 0;
  for (int round = 0; round < 500; ++round) {
    const auto below = [&](std::size_t limit) { return static_cast<std::uint32_t>(random() % limit); };
    Shape shape;
    shape.positions.resize(4 + below(8));
    shape.normals.assign(1 + below(3), {0, 0, 1});
    for (std::uint32_t i = 1 + below(30); i > 0; --i) {
      std::uint32_t corners[3] = {below(shape.positions.size()), 0, 0};
      do corners[1] = below(shape.positions.size());
      while (corners[1] == corners[0]);
      do corners[2] = below(shape.positions.size());
      while (corners[2] == corners[0] || corners[2] == corners[1]);
      for (const std::uint32_t corner : corners) {
        shape.corner_positions.push_back(corner);
        shape.corner_records.push_back(below(shape.normals.size()));
      }
      shape.primitive_starts.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
    }
    const Topology mesh = decoded(symbolsOf(encodeTopology(shape, false)));
    if (mesh.neighbours.empty()) continue;
    ++given;
    ASSERT_EQ(mesh.neighbours, foundNeighbours(mesh)) << round;
  }
  EXPECT_GT(given, 100);
}

}  // namespace
