// Files whose records share long names and large arrays: what tools write and read stays within some times
// the size of the file.
#include <gmock/gmock.h>

#include <fstream>
#include <limits>

#include "tests/zix/run_program.h"
#include "tests/zix/scratch_folder.h"
#include "tests/zix/zix_builder.h"
#include "zix/mesh_figures.h"
#include "zix/render.h"
#include "zix/scene_diff.h"
#include "zix/scene_info.h"
#include "zix/validate.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::runProgram;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::ZixBuilder;
using ::testing::HasSubstr;

constexpr std::uint32_t typeNumber(ObjectType type) { return static_cast<std::uint32_t>(type); }

// Nothing but arrays: one of points, one of indices, one of lengths.
ZixBuilder withArrays(std::uint32_t triangles) {
  ZixBuilder built;
  std::string points;
  std::string indices;
  std::string lengths;
  for (std::uint32_t i = 0; i < 3 * triangles; ++i) {
    const float point[3] = {static_cast<float>(i % 7), static_cast<float>(i % 5), static_cast<float>(i % 3)};
    points.append(reinterpret_cast<const char*>(point), sizeof(point));
    indices.append(reinterpret_cast<const char*>(&i), sizeof(i));
  }
  const std::uint32_t three = 3;
  for (std::uint32_t i = 0; i < triangles; ++i)
    lengths.append(reinterpret_cast<const char*>(&three), sizeof(three));
  built.addArray(format::kFloatArrayChunk, 12, points);
  built.addArray(format::kIndexArrayChunk, 4, indices);
  built.addArray(format::kIndexArrayChunk, 4, lengths);
  built.add(ZixBuilder::plain(typeNumber(ObjectType::Coordinates)));
  built.add(ZixBuilder::plain(typeNumber(ObjectType::IndexArray)));
  built.add(ZixBuilder::plain(typeNumber(ObjectType::IndexArray)));
  built.coordinates = {{3, 0, 1, 0}};
  built.index_arrays = {{1, 0}, {2, 0}};
  return built;
}

std::uint32_t addObject(ZixBuilder& built, ObjectType type, std::uint32_t parent, std::uint32_t name_size) {
  auto object = ZixBuilder::plain(typeNumber(type));
  object.parent = parent;
  object.name_size = name_size;
  if (type == ObjectType::Mesh) built.meshes.push_back({0, 0, 1, 2, 1, 0});
  return built.add(object);
}

void setChildren(ZixBuilder& built, std::uint32_t parent, const std::vector<std::uint32_t>& children) {
  built.objects[parent].first_child = static_cast<std::uint32_t>(built.children.size());
  built.objects[parent].child_count = static_cast<std::uint32_t>(children.size());
  built.children.insert(built.children.end(), children.begin(), children.end());
}

// Nodes one below the other, each with a shape of one mesh. All share one long name.
std::string deepFile(std::uint32_t levels, std::uint32_t name_size, char letter = 'n') {
  ZixBuilder built = withArrays(1);
  built.texts = std::string(name_size, letter);
  std::uint32_t parent = format::kNone;
  std::vector<std::uint32_t> nodes;
  for (std::uint32_t level = 0; level < levels; ++level) {
    parent = addObject(built, ObjectType::Node, parent, name_size);
    nodes.push_back(parent);
    addObject(built, ObjectType::Mesh, addObject(built, ObjectType::Shape, parent, name_size), name_size);
  }
  built.scene.root = nodes.front();
  for (const std::uint32_t node : nodes) {
    std::vector<std::uint32_t> children{node + 1};
    if (node != nodes.back()) children.push_back(node + 3);
    setChildren(built, node, children);
    setChildren(built, node + 1, {node + 2});
  }
  return built.build();
}

// One shape with many meshes, which share all arrays.
std::string sharingFile(std::uint32_t meshes, std::uint32_t triangles) {
  ZixBuilder built = withArrays(triangles);
  const std::uint32_t root = addObject(built, ObjectType::Node, format::kNone, 0);
  const std::uint32_t shape = addObject(built, ObjectType::Shape, root, 0);
  std::vector<std::uint32_t> children;
  for (std::uint32_t i = 0; i < meshes; ++i) children.push_back(addObject(built, ObjectType::Mesh, shape, 0));
  setChildren(built, root, {shape});
  setChildren(built, shape, children);
  built.scene.root = root;
  return built.build();
}

SceneFile sceneOf(const std::string& file) {
  auto scene = SceneFile::fromBytes(std::as_bytes(std::span(file.data(), file.size())));
  if (!scene) throw std::runtime_error(scene.error().text());
  return std::move(*scene);
}

// What `write` hands to its sink, in bytes.
template <typename Write>
std::uint64_t sizeOf(Write write) {
  std::uint64_t size = 0;
  write([&](std::string_view text) { size += text.size(); });
  return size;
}

constexpr std::uint64_t kSome = 10;  // times the size of the file

TEST(HostileScene, NamesInTextAreCut) {
  const std::string file = deepFile(300, 20'000);
  const SceneFile scene = sceneOf(file);
  EXPECT_LT(sizeOf([&](const TextSink& out) { writeInfoText(scene, out); }), kSome * file.size());
  EXPECT_LT(sizeOf([&](const TextSink& out) { writeTree(scene, out); }), kSome * file.size());
  std::string text;
  writeInfoText(scene, [&](std::string_view part) { text += part; });
  EXPECT_THAT(text, HasSubstr(std::string(200, 'n') + "… (20000 bytes)\": 1 triangles"));
}

TEST(HostileScene, NamesInMessagesAreCut) {
  const std::string first = deepFile(30, 20'000);
  const std::string second = deepFile(30, 20'000, 'm');
  const auto result = diffScenes(sceneOf(first), sceneOf(second), -1);
  ASSERT_FALSE(result.differences.empty());
  for (const std::string& line : result.differences) EXPECT_LT(line.size(), 6'000U);
  const std::string odd = deepFile(2, 20'000, '\xff');
  const auto report = validateBytes(std::as_bytes(std::span(odd.data(), odd.size())));
  ASSERT_FALSE(report.messages.empty());
  for (const auto& message : report.messages) EXPECT_LT(message.message.size(), 2'000U);
}

TEST(HostileScene, JsonThatWouldBeVeryMuchLongerThanTheFileIsRefused) {
  const ScratchFolder folder;
  folder.write("deep.zix", deepFile(100, 20'000));
  const auto info = runProgram(folder, "zix", {"info", "--json", folder.hostPath("deep.zix")});
  EXPECT_EQ(info.code, 1);
  EXPECT_THAT(info.err, HasSubstr("deep.zix: the names in the JSON document would take 103020600 bytes"));
  EXPECT_THAT(info.out, HasSubstr("\"TOO_MUCH_TEXT\""));
  EXPECT_LT(info.out.size(), 1'000U);
  // Here each name stands once.
  EXPECT_EQ(runProgram(folder, "zix", {"tree", "--json", folder.hostPath("deep.zix")}).code, 0);
  folder.write("long.zix", deepFile(100, 400'000));
  const auto tree = runProgram(folder, "zix", {"tree", "--json", folder.hostPath("long.zix")});
  EXPECT_EQ(tree.code, 1);
  EXPECT_THAT(tree.out, HasSubstr("\"TOO_MUCH_TEXT\""));
  EXPECT_LT(tree.out.size(), 1'000U);
}

TEST(HostileScene, DeepModelsWithLongNamesAreNotRefused) {
  // 1000 levels with names of 50 bytes: 25 million bytes of paths.
  const std::string file = deepFile(1'000, 50);
  EXPECT_EQ(infoJsonRefusal(sceneOf(file)), std::nullopt);
  EXPECT_EQ(treeJsonRefusal(sceneOf(file), true), std::nullopt);
}

TEST(HostileScene, FiguresOfSharedArraysAreThoseOfEachMesh) {
  const std::string file = sharingFile(3, 10);
  const SceneFile scene = sceneOf(file);
  MeshFigures figures(scene);
  Matrix moved;
  moved.m[3] = 100;
  BoxD remembered;
  BoxD one_by_one;
  for (const PlacedMesh& placed : placedMeshes(scene)) {
    EXPECT_EQ(figures.wholeElements(placed.mesh), wholeElementCount(scene, placed.mesh));
    for (const Matrix& world : {placed.world, moved, placed.world}) {
      BoxF local;
      addBounds(scene, placed.mesh, world, local, one_by_one);
      figures.addPlaced(placed.mesh, world, remembered);
      EXPECT_EQ(figures.bounds(placed.mesh), local);
    }
  }
  EXPECT_EQ(remembered, one_by_one);
  EXPECT_EQ(remembered.high[0], 106);
}

TEST(HostileScene, WhatIsDrawnTwiceInOnePlaceLooksLikeOnce) {
  const std::string once = sharingFile(1, 10);
  const std::string often = sharingFile(5, 10);
  const auto drawn = [](const std::string& file, bool outline) {
    const SceneFile scene = sceneOf(file);
    return render(scene, *findCamera(scene, "iso"), 64, 48, {.edges = !outline, .outline = outline}).rgb;
  };
  for (const bool outline : {false, true}) EXPECT_EQ(drawn(once, outline), drawn(often, outline));
}

#ifdef __linux__

// What this process has read from files so far.
std::uint64_t bytesRead() {
  std::ifstream counters("/proc/self/io");
  std::string name;
  std::uint64_t value = 0;
  counters >> name >> value;
  return name == "rchar:" ? value : std::numeric_limits<std::uint64_t>::max();
}

TEST(HostileScene, SharedArraysAreReadOnce) {
  const ScratchFolder folder;
  const std::string file = sharingFile(500, 20'000);
  folder.write("shared.zix", file);
  const auto scene = SceneFile::open(folder.programPath("shared.zix"));
  ASSERT_TRUE(scene);
  const auto readBy = [&](auto use) {
    const std::uint64_t before = bytesRead();
    use();
    return bytesRead() - before;
  };
  const TextSink ignore = [](std::string_view) {};
  EXPECT_LT(readBy([&] { writeInfoText(*scene, ignore); }), kSome * file.size());
  EXPECT_LT(readBy([&] { writeInfoJson(*scene, ignore); }), kSome * file.size());
  EXPECT_LT(readBy([&] { writeTree(*scene, ignore); }), kSome * file.size());
  EXPECT_LT(readBy([&] { writeTreeJson(*scene, ignore); }), kSome * file.size());
  EXPECT_LT(readBy([&] {
              for (std::uint32_t i = 5; i < scene->objectCount(); ++i) meshArrays(*scene, i);
            }),
            kSome * file.size());
}

#endif

}  // namespace
}  // namespace Orb::Zix
