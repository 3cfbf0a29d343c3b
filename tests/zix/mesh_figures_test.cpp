// Large arrays pass by in pieces: what lies behind the first piece, or in two of them, counts like the rest.
#include "zix/mesh_figures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tests/zix/scratch_folder.h"
#include "tests/zix/zix_builder.h"
#include "zix/scene_meshes.h"
#include "zix/validate.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::recordBytes;
using loftbay::testing_support::ZixBuilder;

template <typename T>
std::string bytesOf(const std::vector<T>& values) {
  return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)};
}

// One mesh below the root: objects root, shape, mesh, coordinates, indices, lengths.
struct LargeMesh {
  MeshType type = MeshType::Lines;
  std::vector<float> coordinates;
  std::vector<std::uint32_t> indices;
  std::vector<std::uint32_t> lengths;

  [[nodiscard]] std::string build() const {
    ZixBuilder built;
    const auto add = [&](ObjectType object_type, std::uint32_t parent) {
      format::ObjectRecord record = ZixBuilder::plain(static_cast<std::uint32_t>(object_type));
      record.parent = parent;
      if (object_type == ObjectType::Node || object_type == ObjectType::Shape) record.child_count = 1;
      if (object_type == ObjectType::Shape) record.first_child = 1;
      return built.add(record);
    };
    add(ObjectType::Node, format::kNone);
    add(ObjectType::Shape, 0);
    add(ObjectType::Mesh, 1);
    add(ObjectType::Coordinates, format::kNone);
    add(ObjectType::IndexArray, format::kNone);
    add(ObjectType::IndexArray, format::kNone);
    built.scene.root = 0;
    built.children = {1, 2};
    built.addArray(format::kFloatArrayChunk, 12, bytesOf(coordinates));
    built.addArray(format::kIndexArrayChunk, 4, bytesOf(indices));
    built.addArray(format::kIndexArrayChunk, 4, bytesOf(lengths));
    format::MeshRecord mesh{};
    mesh.mesh_type = static_cast<std::uint32_t>(type);
    mesh.coordinates = 3;
    mesh.indices = 4;
    mesh.lengths = 5;
    built.meshes = {mesh};
    format::CoordinatesRecord points{};
    points.dimension = 3;
    points.chunk = 0;
    built.coordinates = {points};
    format::IndexArrayRecord index_array{};
    index_array.chunk = 1;
    built.index_arrays.push_back(index_array);
    index_array.chunk = 2;
    built.index_arrays.push_back(index_array);
    return built.build();
  }
};

class MeshFigures : public ::testing::Test {
 protected:
  void write(const LargeMesh& mesh) {
    scene_.reset();
    folder_.write("large.zix", mesh.build());
    auto opened = SceneFile::open(path_);
    ASSERT_TRUE(opened) << opened.error().text();
    scene_.emplace(std::move(*opened));
  }
  [[nodiscard]] std::uint64_t elementsVisited() const {
    std::uint64_t count = 0;
    forEachElement(meshArrays(*scene_, kMesh), [&](std::span<const std::uint32_t>) { ++count; });
    return count;
  }
  [[nodiscard]] std::vector<std::string> findings() const {
    std::vector<std::string> found;
    for (const auto& message : validateFile(path_).messages) {
      found.push_back(message.code + " at " + std::to_string(message.offset) + ": " + message.message);
    }
    return found;
  }

  static constexpr std::uint32_t kMesh = 2;
  loftbay::testing_support::ScratchFolder folder_;
  std::string path_ = folder_.programPath("large.zix");
  std::optional<SceneFile> scene_;
};

// 200,000 points on a line, and elements of 1 to 7 indices over them: more than three pieces of each array.
LargeMesh polylines() {
  LargeMesh mesh;
  for (int i = 0; i < 200'000; ++i) {
    const auto x = static_cast<float>(i);
    mesh.coordinates.insert(mesh.coordinates.end(), {x, -2 * x, 1});
  }
  for (std::uint32_t i = 0; i < 150'000; ++i) {
    const std::uint32_t length = 1 + i % 7;
    mesh.lengths.push_back(length);
    for (std::uint32_t k = 0; k < length; ++k) mesh.indices.push_back((i + k) % 200'000);
  }
  return mesh;
}

TEST_F(MeshFigures, CountsAndBoxesAreThoseOfTheWholeArrays) {
  write(polylines());
  EXPECT_EQ(pointCount(*scene_, kMesh), 200'000U);
  EXPECT_EQ(elementCount(*scene_, kMesh), 150'000U);
  EXPECT_EQ(wholeElementCount(*scene_, kMesh), 150'000U);
  EXPECT_EQ(elementsVisited(), 150'000U);
  BoxF local;
  BoxD placed;
  addBounds(*scene_, kMesh, Matrix(), local, placed);
  EXPECT_EQ(local.low[0], 0);
  EXPECT_EQ(local.high[0], 199'999);
  EXPECT_EQ(local.low[1], -2.0F * 199'999);
  EXPECT_EQ(placed.high[0], 199'999);
  EXPECT_EQ(placed.low[1], -2.0 * 199'999);
  EXPECT_EQ(placed.high[2], 1);
  EXPECT_THAT(findings(), ::testing::IsEmpty());
}

TEST_F(MeshFigures, ElementsWithBadIndicesAreNotWhole) {
  LargeMesh mesh = polylines();
  std::size_t start = 0;
  std::uint64_t bad = 0;
  for (const std::uint32_t length : mesh.lengths) {
    // In every piece of the indices, and on their borders.
    if (start % 49'152 < length || start % 1009 < length) {
      mesh.indices[start] = 200'000;
      ++bad;
    }
    start += length;
  }
  mesh.indices[400'000] = 300'000;
  mesh.indices[500'000] = 300'000;
  write(mesh);
  EXPECT_GT(bad, 100U);
  EXPECT_EQ(wholeElementCount(*scene_, kMesh), elementsVisited());
  EXPECT_LE(wholeElementCount(*scene_, kMesh), 150'000 - bad);
  const std::uint64_t indices_at = scene_->chunks()[1].offset;
  EXPECT_THAT(findings(),
              ::testing::ElementsAre("INDEX_RANGE at " + std::to_string(indices_at + 4 * 400'000) +
                                     ": object 2 '' has the index 300000 and only 200000 points"));
}

TEST_F(MeshFigures, FindingsBehindTheFirstPieceAreFound) {
  LargeMesh mesh = polylines();
  mesh.type = MeshType::Triangles;
  std::fill(mesh.lengths.begin(), mesh.lengths.end(), 3);
  mesh.lengths[120'000] = 4;
  mesh.lengths[130'000] = 2;
  mesh.indices.resize(450'000);
  mesh.coordinates[500'000] = std::numeric_limits<float>::quiet_NaN();
  write(mesh);
  const auto offset = [&](std::size_t chunk, std::uint64_t value) {
    return std::to_string(scene_->chunks()[chunk].offset + 4 * value);
  };
  EXPECT_THAT(findings(),
              ::testing::ElementsAre("ELEMENT_LENGTH at " + offset(2, 120'000) +
                                         ": object 2 '' is a mesh of triangles with an element of 4 indices",
                                     "NOT_FINITE at " + offset(0, 500'000) +
                                         ": object 3 '' holds values that are no finite numbers"));
  EXPECT_EQ(wholeElementCount(*scene_, kMesh), 149'998U);
  EXPECT_EQ(elementsVisited(), 149'998U);
  mesh.lengths.push_back(3);
  write(mesh);
  EXPECT_THAT(findings(), ::testing::Contains(::testing::StartsWith("LENGTHS_SUM at " + offset(2, 0))));
  EXPECT_EQ(wholeElementCount(*scene_, kMesh), 149'998U) << "the last element lacks its indices";
}

// No array of this version asks for a dimension or for a value per point; these are like one that would.
TEST_F(MeshFigures, KindsOfArraysMayAskForADimensionAndForAValuePerPoint) {
  write({MeshType::Lines, {0, 0, 0, 1, 0, 0}, {0, 1}, {2}});
  MeshArrayKind<float> flat = kCoordinatesOfMesh;
  EXPECT_TRUE(hasRightDimension(*scene_, flat, scene_->mesh(kMesh))) << "any";
  flat.dimension = 3;
  EXPECT_TRUE(hasRightDimension(*scene_, flat, scene_->mesh(kMesh)));
  flat.dimension = 2;
  EXPECT_FALSE(hasRightDimension(*scene_, flat, scene_->mesh(kMesh)));
  EXPECT_TRUE(hasRightDimension(*scene_, flat, {0, format::kNone, 4, 5, 0, 0})) << "no array at all";

  for (MeshArrayKind<std::uint32_t> kind : {kIndicesOfMesh, kLengthsOfMesh}) {
    EXPECT_TRUE(hasRightCount(*scene_, kind, kMesh)) << "any";
    kind.one_per_point = true;
    EXPECT_EQ(hasRightCount(*scene_, kind, kMesh), kind.name == std::string("indices"))
        << "two points, two indices, one length";
  }
  flat.one_per_point = true;
  EXPECT_TRUE(hasRightCount(*scene_, flat, kMesh)) << "tuples, not floats";
}

TEST_F(MeshFigures, ChecksumsCoverTheLastPiece) {
  std::string file = polylines().build();
  write(polylines());
  const format::ChunkEntry indices = scene_->chunks()[1];
  file[static_cast<std::size_t>(indices.offset + indices.size - 1)] = '\x40';
  scene_.reset();
  folder_.write("large.zix", file);
  EXPECT_THAT(findings(), ::testing::Contains(
                              ::testing::StartsWith("CHUNK_CHECKSUM at " + std::to_string(indices.offset))));
}

}  // namespace
}  // namespace Orb::Zix
