#include "samples/maker/solids.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <numbers>

#include "samples/maker/beam_engine.h"
#include "samples/maker/bench_models.h"

namespace loftbay::maker {
namespace {

// Every edge is run through once in each direction.
bool isClosed(const Shape& shape) {
  std::map<std::pair<std::uint32_t, std::uint32_t>, int> edges;
  for (std::size_t i = 0; i < shape.primitiveCount(); ++i) {
    const auto begin = shape.primitive_starts[i];
    const auto end = shape.primitive_starts[i + 1];
    for (auto c = begin; c < end; ++c) {
      ++edges[{shape.corner_positions[c], shape.corner_positions[c + 1 == end ? begin : c + 1]}];
    }
  }
  for (const auto& [edge, count] : edges) {
    const auto opposite = edges.find({edge.second, edge.first});
    if (count != 1 || opposite == edges.end() || opposite->second != 1) return false;
  }
  return true;
}

double volume(const Shape& shape) {
  double six = 0;
  for (std::size_t c = 0; c < shape.corner_positions.size(); c += 3) {
    const auto& a = shape.positions[shape.corner_positions[c]];
    const auto& b = shape.positions[shape.corner_positions[c + 1]];
    const auto& d = shape.positions[shape.corner_positions[c + 2]];
    six += double(a.x) * (double(b.y) * d.z - double(b.z) * d.y) +
           double(a.y) * (double(b.z) * d.x - double(b.x) * d.z) +
           double(a.z) * (double(b.x) * d.y - double(b.y) * d.x);
  }
  return six / 6;
}

TEST(Solids, VolumesArePositiveAndRight) {
  EXPECT_NEAR(volume(toShape(box(2, 3, 4))), 24, 1e-6);
  const auto ngon = [](double r, double n) { return n / 2 * r * r * std::sin(2 * std::numbers::pi / n); };
  EXPECT_NEAR(volume(toShape(cylinder(10, 5, 64))), 5 * ngon(10, 64), 0.5);
  const Solid plate = extruded(rectangle(0, 0, 20, 20), {reversed(circle(10, 10, 4, 16))}, 2);
  EXPECT_NEAR(volume(toShape(plate)), 2 * (400 - ngon(4, 16)), 0.1);
  const double sphere = volume(toShape(ball(10, 64)));
  EXPECT_NEAR(sphere, 4.0 / 3 * std::numbers::pi * 1000, 25);
  const double tube = volume(toShape(pipe({{0, 0, 0}, {0, 0, 10}}, 2, 32)));
  EXPECT_NEAR(tube, 10 * ngon(2, 32), 0.1);
}

TEST(Solids, EveryPartOfTheEngineIsClosedAndTurnedOutwardsInEveryLevel) {
  const Product engine = beamEngine();
  EXPECT_GE(engine.parts.size(), 20U);
  for (const auto& part : engine.parts) {
    SCOPED_TRACE(part.name);
    ASSERT_EQ(part.lods.size(), 2U);
    for (const auto& lod : part.lods) {
      for (const auto& source : lod) {
        EXPECT_TRUE(isClosed(source.shape));
        EXPECT_GT(volume(source.shape), 0);
      }
    }
    EXPECT_GT(part.lods[0][0].shape.primitiveCount(), part.lods[1][0].shape.primitiveCount() / 2);
  }
}

TEST(Solids, NormalsPointOutOfTheirFacets) {
  for (const auto& part : beamEngine().parts) {
    for (const auto& lod : part.lods) {
      for (const auto& source : lod) {
        const Shape& shape = source.shape;
        for (std::size_t c = 0; c < shape.corner_positions.size(); c += 3) {
          const auto& a = shape.positions[shape.corner_positions[c]];
          const auto& b = shape.positions[shape.corner_positions[c + 1]];
          const auto& d = shape.positions[shape.corner_positions[c + 2]];
          const Vec3 u = {b.x - a.x, b.y - a.y, b.z - a.z};
          const Vec3 v = {d.x - a.x, d.y - a.y, d.z - a.z};
          const Vec3 facet = {u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x};
          for (std::size_t k = 0; k < 3; ++k) {
            const Vec3& n = shape.normals[shape.corner_records[c + k]];
            ASSERT_GT(n.x * facet.x + n.y * facet.y + n.z * facet.z, 0) << part.name << " triangle " << c / 3;
            ASSERT_NEAR(n.x * n.x + n.y * n.y + n.z * n.z, 1, 1e-5);
          }
        }
      }
    }
  }
}

TEST(Solids, EdgesSharperThanTheCreaseHaveTwoNormals) {
  const Shape cube = toShape(box(1, 1, 1));
  EXPECT_EQ(cube.positions.size(), 8U);
  EXPECT_EQ(cube.normals.size(), 24U);
  const Shape smooth = toShape(box(1, 1, 1), 179);
  EXPECT_EQ(smooth.normals.size(), 8U);
}

TEST(BenchModels, HaveAboutTheTrianglesAskedForAndAreClosed) {
  const Shape shape = wavyTorus(20'000, 3);
  EXPECT_NEAR(double(shape.primitiveCount()), 20'000, 400);
  EXPECT_TRUE(isClosed(shape));
  EXPECT_GT(volume(shape), 0);
  EXPECT_EQ(manyParts(120, 50).parts.size(), 120U);
  EXPECT_EQ(largeModel(1'000'000).parts.size(), 10U);
}

}  // namespace
}  // namespace loftbay::maker
