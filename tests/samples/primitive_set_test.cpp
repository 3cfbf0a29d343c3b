// Primitive sets that the maker writes, read by the toolkit: closed meshes of the right size and position.
// The maker's boxes, areas and volumes come from formulas.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <map>

#include "host/path.h"
#include "jttk/interface/inspect.h"
#include "jttk/interface/shape_type.h"
#include "samples/maker/measure.h"
#include "samples/maker/primitives.h"
#include "samples/maker/shape_lod.h"
#include "samples/maker/write_jt.h"
#include "tests/jttk/model/walk.h"

namespace loftbay::maker::test {
namespace {

namespace fs = std::filesystem;
using Type = PrimitiveSolid::Type;
using jttk::ShapeGeometry;

constexpr Type kTypes[] = {Type::Box, Type::Cylinder, Type::Pyramid, Type::Sphere, Type::TriPrism};
// About an axis that is none of the coordinates'.
std::array<float, 4> askew() {
  const double half = 0.35;
  const double s = std::sin(half) / std::sqrt(14.0);
  return {static_cast<float>(s), static_cast<float>(2 * s), static_cast<float>(3 * s),
          static_cast<float>(std::cos(half))};
}

PrimitiveSolid example(Type type) {
  PrimitiveSolid solid{type, {4, -3, 2}, {5, 7, 11}, askew(), {0.25F, 0.5F, 0.75F}};
  if (type == Type::Sphere) solid.size = {5, 0, 0};
  return solid;
}

Shape setOf(std::vector<PrimitiveSolid> solids, bool colored = false) {
  Shape shape;
  shape.kind = ShapeKind::Solids;
  shape.solids = std::move(solids);
  shape.colored_solids = colored;
  return shape;
}

jttk::Result<ShapeGeometry> decode(const Shape& shape, const Options& wanted) {
  const Options options = wanted.effective();
  const Bytes bytes = shapeSegment(shape, options, 1);
  jttk::Segment segment;
  segment.type = jttk::SegmentType::ShapeLod0;
  segment.data = std::as_bytes(std::span(bytes));
  const Figures f = measure(shape);
  const jttk::StatedExtent stated[] = {
      {{f.min.x, f.min.y, f.min.z, f.max.x, f.max.y, f.max.z}, static_cast<float>(f.area)}};
  return jttk::decodeShapeLod(segment, {options.major(), 0},
                              options.big_endian ? jttk::ByteOrder::Big : jttk::ByteOrder::Little,
                              {stated, nullptr});
}

struct Vector {
  double x, y, z;
};
Vector at(const std::vector<float>& values, std::uint32_t i) {
  return {values[3 * i], values[3 * i + 1], values[3 * i + 2]};
}
Vector minus(const Vector& a, const Vector& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Vector cross(const Vector& a, const Vector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double dot(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

// The triangles of all polygons, fanned from their first corners: f(a, b, c) with corner numbers.
template <typename F>
void eachTriangle(const ShapeGeometry& g, F f) {
  for (std::size_t i = 0; i < g.primitiveCount(); ++i) {
    for (std::uint32_t c = g.primitive_starts[i] + 1; c + 1 < g.primitive_starts[i + 1]; ++c) {
      f(g.primitive_starts[i], c, c + 1);
    }
  }
}

double volumeOf(const ShapeGeometry& g) {
  double volume = 0;
  eachTriangle(g, [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    const auto p = [&](std::uint32_t corner) { return at(g.positions, g.corner_positions[corner]); };
    volume += dot(p(a), cross(p(b), p(c))) / 6;
  });
  return volume;
}

// Every edge of a polygon has exactly one neighbour that runs along it in the opposite direction.
void expectClosed(const ShapeGeometry& g) {
  std::map<std::pair<std::uint32_t, std::uint32_t>, int> edges;
  for (std::size_t i = 0; i < g.primitiveCount(); ++i) {
    const std::uint32_t first = g.primitive_starts[i];
    const std::uint32_t count = g.primitive_starts[i + 1] - first;
    for (std::uint32_t k = 0; k < count; ++k) {
      ++edges[{g.corner_positions[first + k], g.corner_positions[first + (k + 1) % count]}];
    }
  }
  for (const auto& [edge, count] : edges) {
    ASSERT_EQ(count, 1);
    ASSERT_TRUE(edges.contains({edge.second, edge.first}));
  }
}

void expectNormalsOutward(const ShapeGeometry& g) {
  ASSERT_EQ(g.corner_records.size(), g.corner_positions.size());
  eachTriangle(g, [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    const auto p = [&](std::uint32_t corner) { return at(g.positions, g.corner_positions[corner]); };
    const Vector facet = cross(minus(p(b), p(a)), minus(p(c), p(a)));
    for (const std::uint32_t corner : {a, b, c}) {
      const Vector n = at(g.normals, g.corner_records[corner]);
      EXPECT_NEAR(dot(n, n), 1, 1e-5);
      // Smooth normals lean by half a side of the circle.
      EXPECT_GT(dot(n, facet), 0.98 * std::sqrt(dot(facet, facet)));
    }
  });
}

TEST(PrimitiveSets, EveryTypeIsAClosedMeshOfItsVolumeAndBox) {
  for (const Type type : kTypes) {
    SCOPED_TRACE(static_cast<int>(type));
    const Shape shape = setOf({example(type)});
    const auto decoded = decode(shape, {});
    ASSERT_TRUE(decoded) << decoded.error().text();
    EXPECT_EQ(decoded->kind, jttk::PrimitiveKind::Polygons);
    expectClosed(*decoded);
    expectNormalsOutward(*decoded);
    // Flat sides are exact; a circle of 52 sides has 0.24 percent less area, a ball 0.61 percent less volume.
    const double wanted = maker::volumeOf(example(type));
    const bool is_round = type == Type::Cylinder || type == Type::Sphere;
    EXPECT_LT(volumeOf(*decoded), wanted * (1 + 1e-5));
    EXPECT_GT(volumeOf(*decoded), wanted * (is_round ? 0.993 : 1 - 1e-5));
    const Figures f = measure(shape);
    const float box[] = {f.min.x, f.min.y, f.min.z, f.max.x, f.max.y, f.max.z};
    for (std::size_t k = 0; k < 6; ++k) {
      float extreme = decoded->positions[k % 3];
      for (std::size_t i = k % 3; i < decoded->positions.size(); i += 3) {
        extreme = k < 3 ? std::min(extreme, decoded->positions[i]) : std::max(extreme, decoded->positions[i]);
      }
      EXPECT_NEAR(extreme, box[k], is_round ? 0.01 * 7 : 1e-4) << k;
    }
  }
}

// The stated tolerance of round sides: 0.1 percent of the diameter.
TEST(PrimitiveSets, RoundSidesKeepWithinTheirTolerance) {
  PrimitiveSolid ball{Type::Sphere, {0, 0, 0}, {50, 0, 0}};
  const auto decoded = decode(setOf({ball}), {});
  ASSERT_TRUE(decoded) << decoded.error().text();
  double deepest = 0;
  for (std::size_t i = 0; i < decoded->primitiveCount(); ++i) {
    const std::uint32_t first = decoded->primitive_starts[i];
    const std::uint32_t count = decoded->primitive_starts[i + 1] - first;
    for (std::uint32_t k = 0; k < count; ++k) {
      const auto p = [&](std::uint32_t c) { return at(decoded->positions, decoded->corner_positions[c]); };
      const Vector a = p(first + k);
      const Vector b = p(first + (k + 1) % count);
      const Vector middle = {(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2};
      deepest = std::max(deepest, 50 - std::sqrt(dot(middle, middle)));
      EXPECT_NEAR(std::sqrt(dot(a, a)), 50, 1e-4);
    }
  }
  EXPECT_LE(deepest, 0.001 * 100);
  EXPECT_GT(deepest, 0.0005 * 100);
}

TEST(PrimitiveSets, EveryVersionByteOrderAndCodingGivesTheSameSolids) {
  for (const auto version : kJtVersions) {
    for (const bool big_endian : {false, true}) {
      for (const std::uint8_t bits : {std::uint8_t{0}, std::uint8_t{20}}) {
        Options options{
            .version = version, .big_endian = big_endian, .coordinate_bits = bits, .color_bits = 8};
        options.codec = Codec::VariableBits;
        SCOPED_TRACE(std::string(options.versionText()) + " " + std::to_string(bits));
        std::vector<PrimitiveSolid> solids;
        double volume = 0;
        for (int i = 0; i < 3; ++i) {
          PrimitiveSolid box = example(Type::Box);
          box.place.x += 30.0F * static_cast<float>(i);
          solids.push_back(box);
          volume += maker::volumeOf(box);
        }
        const auto decoded = decode(setOf(solids, true), options);
        ASSERT_TRUE(decoded) << decoded.error().text();
        EXPECT_EQ(decoded->primitiveCount(), 18U);
        EXPECT_EQ(decoded->facts.lossless, bits == 0);
        EXPECT_NEAR(volumeOf(*decoded), volume, volume * 1e-4);
        expectClosed(*decoded);
        ASSERT_EQ(decoded->colors.size() / 4, decoded->normals.size() / 3);
        EXPECT_NEAR(decoded->colors[0], 0.25F, 1 / 255.0);
        EXPECT_NEAR(decoded->colors[1], 0.5F, 1 / 255.0);
        EXPECT_NEAR(decoded->colors[2], 0.75F, 1 / 255.0);
        EXPECT_EQ(decoded->colors[3], 1);
      }
    }
  }
}

TEST(PrimitiveSets, HueSaturationAndValueOfQuantisedColours) {
  Options options{.coordinate_bits = 20, .color_bits = 12};
  options.hsv_colors = true;
  const auto decoded = decode(setOf({example(Type::Box), example(Type::Box)}, true), options);
  ASSERT_TRUE(decoded) << decoded.error().text();
  EXPECT_NEAR(decoded->colors[0], 0.25F, 2e-3);
  EXPECT_NEAR(decoded->colors[1], 0.5F, 2e-3);
  EXPECT_NEAR(decoded->colors[2], 0.75F, 2e-3);
}

TEST(PrimitiveSets, SetsOfSeveralTypesAreReadWhereAllOfThemReachTheBox) {
  // A row along x; each type alone reaches one of the sides, so that the box decides how each is read.
  PrimitiveSolid box{Type::Box, {0, 0, 0}, {10, 40, 10}};
  PrimitiveSolid ball{Type::Sphere, {40, 20, 5}, {12, 0, 0}};
  const Shape shape = setOf({box, ball});
  const auto decoded = decode(shape, {});
  ASSERT_TRUE(decoded) << decoded.error().text();
  EXPECT_NEAR(volumeOf(*decoded), maker::volumeOf(box) + maker::volumeOf(ball), 60);
  EXPECT_EQ(jttk::shapeType(*decoded, jttk::NodeKind::PrimitiveSet), JtkEntity::JtkPRIMITIVESET);
}

TEST(PrimitiveSets, ASetOfOneTypeIsAnEntityOfThatType) {
  constexpr JtkEntity::TypeID kIds[] = {JtkEntity::JtkBOXSET, JtkEntity::JtkCYLINDERSET,
                                        JtkEntity::JtkPYRAMIDSET, JtkEntity::JtkSPHERESET,
                                        JtkEntity::JtkTRIPRISMSET};
  for (std::size_t i = 0; i < 5; ++i) {
    const auto decoded = decode(setOf({example(kTypes[i])}), {});
    ASSERT_TRUE(decoded) << decoded.error().text();
    EXPECT_EQ(jttk::shapeType(*decoded, jttk::NodeKind::PrimitiveSet), kIds[i]);
  }
}

// Part files in every version, through the public interface and as tools describe them.
TEST(PrimitiveSets, FilesWithThemAreWalkedAndDescribed) {
  const fs::path folder = fs::path(testing::TempDir()) / "loftbay_primitive_sets";
  fs::create_directories(folder);
  for (const auto version : kJtVersions) {
    Product product{"solids", {}, {}, partRef(0)};
    product.parts.emplace_back().name = "solids";
    auto& level = product.parts[0].lods.emplace_back();
    for (const Type type : kTypes) level.emplace_back(setOf({example(type)}, type == Type::Sphere));
    const Options options{.version = version};
    SCOPED_TRACE(options.versionText());
    const fs::path file = folder / "solids.jt";
    writeJtFile(product, options, file);
    const auto described = jttk::describeFile(host::toProgramPath(file.string()), {.decode_shapes = true});
    ASSERT_TRUE(described.losses.empty()) << described.losses[0].reason;
    ASSERT_EQ(described.tree.size(), 1U);
    ASSERT_EQ(described.tree[0].levels.size(), 1U);
    const auto& shapes = described.tree[0].levels[0];
    ASSERT_EQ(shapes.size(), 5U);
    const std::size_t triangles[] = {12, 4 * 52 - 4, 6, 52 * (2 + 2 * 24), 8};
    for (std::size_t i = 0; i < 5; ++i) {
      EXPECT_EQ(shapes[i].kind, "primitive set");
      EXPECT_EQ(shapes[i].triangles, triangles[i]) << i;
    }
  }
  fs::remove_all(folder);
}

}  // namespace
}  // namespace loftbay::maker::test
