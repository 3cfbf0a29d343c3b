// Strips of polygons: exactly the fan triangles, each once, whatever the mesh.
#include "jttk/mesh/strips.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <random>

#include "jttk/mesh/triangle_edges.h"

namespace {

using jttk::Primitives;
using jttk::stripsOfPolygons;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A corner as position and record; a triangle in cyclic order.
using Corner = std::pair<std::uint32_t, std::uint32_t>;
using Triangle = std::array<Corner, 3>;

// The smallest of the three rotations.
Triangle cyclic(const Triangle& t) {
  return std::min({t, Triangle{t[1], t[2], t[0]}, Triangle{t[2], t[0], t[1]}});
}

Corner cornerOf(const Primitives& p, std::size_t i) {
  return {p.positions[i], p.records.empty() ? 0 : p.records[i]};
}

std::vector<Triangle> fanTriangles(const Primitives& polygons) {
  std::vector<Triangle> triangles;
  for (std::size_t p = 0; p + 1 < polygons.starts.size(); ++p) {
    for (std::size_t k = polygons.starts[p] + 2; k < polygons.starts[p + 1]; ++k) {
      triangles.push_back(
          cyclic({cornerOf(polygons, polygons.starts[p]), cornerOf(polygons, k - 1), cornerOf(polygons, k)}));
    }
  }
  std::sort(triangles.begin(), triangles.end());
  return triangles;
}

std::vector<Triangle> stripTriangles(const Primitives& strips) {
  std::vector<Triangle> triangles;
  for (std::size_t s = 0; s + 1 < strips.starts.size(); ++s) {
    for (std::size_t k = strips.starts[s]; k + 2 < strips.starts[s + 1]; ++k) {
      Triangle t = {cornerOf(strips, k), cornerOf(strips, k + 1), cornerOf(strips, k + 2)};
      if ((k - strips.starts[s]) % 2 != 0) std::swap(t[0], t[1]);
      triangles.push_back(cyclic(t));
    }
  }
  std::sort(triangles.begin(), triangles.end());
  return triangles;
}

Primitives strips(const Primitives& polygons) {
  return stripsOfPolygons(polygons.starts, polygons.positions, polygons.records);
}

// A grid of `size` x `size` squares, two triangles each.
Primitives grid(std::uint32_t size, bool as_squares = false) {
  Primitives mesh;
  mesh.starts.push_back(0);
  const auto add = [&](std::initializer_list<std::uint32_t> corners) {
    mesh.positions.insert(mesh.positions.end(), corners);
    mesh.starts.push_back(static_cast<std::uint32_t>(mesh.positions.size()));
  };
  for (std::uint32_t y = 0; y < size; ++y) {
    for (std::uint32_t x = 0; x < size; ++x) {
      const std::uint32_t a = y * (size + 1) + x;
      const std::uint32_t b = a + size + 1;
      if (as_squares) {
        add({a, a + 1, b + 1, b});
      } else {
        add({a, a + 1, b + 1});
        add({a, b + 1, b});
      }
    }
  }
  return mesh;
}

TEST(Strips, OneTriangleIsOneStrip) {
  const Primitives result = stripsOfPolygons(std::array{0U, 3U}, std::array{7U, 8U, 9U}, {});
  EXPECT_THAT(result.starts, ElementsAre(0, 3));
  EXPECT_EQ(stripTriangles(result), (std::vector<Triangle>{{{{7, 0}, {8, 0}, {9, 0}}}}));
  EXPECT_THAT(result.records, IsEmpty());
}

TEST(Strips, ASquareIsOneStripOfFourCorners) {
  const Primitives result = stripsOfPolygons(std::array{0U, 4U}, std::array{0U, 1U, 2U, 3U}, {});
  EXPECT_THAT(result.starts, ElementsAre(0, 4));
}

TEST(Strips, NothingGivesNothing) {
  EXPECT_THAT(stripsOfPolygons({}, {}, {}).positions, IsEmpty());
  EXPECT_THAT(stripsOfPolygons(std::array{0U}, {}, {}).starts, ElementsAre(0));
}

TEST(Strips, PolygonsOfOneAndTwoCornersHaveNoTriangle) {
  const Primitives result =
      stripsOfPolygons(std::array{0U, 1U, 3U, 3U, 6U}, std::array{0U, 1U, 2U, 3U, 4U, 5U}, {});
  EXPECT_THAT(result.starts, ElementsAre(0, 3));
  EXPECT_EQ(stripTriangles(result).size(), 1U);
}

TEST(Strips, AStripEndsWhereRecordsDiffer) {
  Primitives square{{0, 3, 6}, {0, 1, 2, 0, 2, 3}, {0, 0, 0, 0, 0, 0}};
  EXPECT_EQ(strips(square).starts.size(), 2U);
  square.records = {0, 0, 0, 1, 1, 1};
  EXPECT_EQ(strips(square).starts.size(), 3U);
  // The edge 0-2 has other records on the other side at one end only.
  square.records = {0, 0, 0, 0, 1, 0};
  EXPECT_EQ(strips(square).starts.size(), 3U);
}

TEST(Strips, NeighboursOfOppositeWindingAreNotJoined) {
  const Primitives mesh{{0, 3, 6}, {0, 1, 2, 0, 3, 2}, {}};
  const Primitives result = strips(mesh);
  EXPECT_EQ(fanTriangles(mesh), stripTriangles(result));
}

TEST(Strips, TrianglesWithoutAreaAreKept) {
  const Primitives mesh{{0, 3, 6, 9}, {5, 5, 5, 1, 1, 2, 2, 1, 1}, {}};
  EXPECT_EQ(fanTriangles(mesh), stripTriangles(strips(mesh)));
}

TEST(Strips, EveryTriangleOfAGridIsThereOnceAndStripsAreLong) {
  for (const bool as_squares : {false, true}) {
    const Primitives mesh = grid(40, as_squares);
    const Primitives result = strips(mesh);
    EXPECT_EQ(fanTriangles(mesh), stripTriangles(result));
    // 3200 triangles; one row of squares is one strip.
    EXPECT_LT(result.starts.size(), 200U);
  }
}

// Few vertices, many polygons of any size: every kind of bad luck (edges of many triangles, polygons that
// repeat corners, opposite windings, several records at one position).
TEST(Strips, RandomPolygonSoupsKeepExactlyTheirFanTriangles) {
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    const auto below = [&](std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); };
    const std::uint32_t vertices = 1 + below(12);
    const std::uint32_t records = below(4);
    Primitives mesh;
    mesh.starts.push_back(0);
    for (std::uint32_t p = below(60); p > 0; --p) {
      for (std::uint32_t k = below(7); k > 0; --k) {
        mesh.positions.push_back(below(vertices));
        if (records > 0) mesh.records.push_back(below(8) == 0 ? 0xffffffffU : below(records));
      }
      mesh.starts.push_back(static_cast<std::uint32_t>(mesh.positions.size()));
    }
    ASSERT_EQ(fanTriangles(mesh), stripTriangles(strips(mesh))) << round;
  }
}

// Random triangles among few vertices, with or without records.
TEST(Strips, OfTrianglesWhoseNeighboursAreKnownAreTheSame) {
  std::mt19937 random(3);
  for (int round = 0; round < 500; ++round) {
    const auto below = [&](std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); };
    const std::uint32_t vertices = 3 + below(30);
    const bool with_records = below(2) == 0;
    Primitives mesh;
    for (std::uint32_t corner = 3 * below(60); corner > 0; --corner) {
      mesh.positions.push_back(below(vertices));
      if (with_records) mesh.records.push_back(below(2));
    }
    for (std::uint32_t start = 0; start <= mesh.positions.size(); start += 3) mesh.starts.push_back(start);
    std::vector<std::uint32_t> corners(mesh.positions.size());
    std::iota(corners.begin(), corners.end(), 0U);
    const Primitives known = jttk::stripsOfTriangles(
        jttk::neighboursOfTriangles(corners, mesh.positions, mesh.records), mesh.positions, mesh.records);
    const Primitives found = strips(mesh);
    ASSERT_EQ(known.starts, found.starts) << round;
    ASSERT_EQ(known.positions, found.positions) << round;
    ASSERT_EQ(known.records, found.records) << round;
  }
}

TEST(Strips, NeighboursFaceEachOther) {
  // Two triangles with the edge 0-2 in common: the first one's last edge and the second one's first.
  const std::vector<std::uint32_t> neighbours =
      jttk::neighboursOfTriangles(std::array{0U, 1U, 2U, 3U, 4U, 5U}, std::array{0U, 1U, 2U, 0U, 2U, 3U}, {});
  constexpr std::uint32_t kNone = jttk::triangle_edges::kNoEdge;
  EXPECT_THAT(neighbours, ElementsAre(kNone, kNone, 4U, kNone, 2U, kNone, kNone, kNone));
}

TEST(Strips, RandomOrderOfAMeshsTrianglesDoesNotLoseAny) {
  std::mt19937 random(2);
  const Primitives ordered = grid(30);
  std::vector<std::uint32_t> order(ordered.starts.size() - 1);
  for (std::uint32_t i = 0; i < order.size(); ++i) order[i] = i;
  std::shuffle(order.begin(), order.end(), random);
  Primitives mesh;
  mesh.starts.push_back(0);
  for (const std::uint32_t triangle : order) {
    const std::uint32_t turn = static_cast<std::uint32_t>(random() % 3);
    for (std::uint32_t k = 0; k < 3; ++k)
      mesh.positions.push_back(ordered.positions[3 * triangle + (k + turn) % 3]);
    mesh.starts.push_back(static_cast<std::uint32_t>(mesh.positions.size()));
  }
  EXPECT_EQ(fanTriangles(mesh), stripTriangles(strips(mesh)));
}

}  // namespace
