// Primitive sets and wireframes through the whole converter: solids arrive as closed meshes, a wireframe
// costs nothing.
#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>

#include "convert/job.h"
#include "diag/program_seams.h"
#include "host/path.h"
#include "jttk/interface/inspect.h"
#include "samples/maker/pieces/graph_builder.h"
#include "samples/maker/primitives.h"
#include "samples/maker/write_jt.h"
#include "tests/conversion/recorded_messages.h"
#include "zix/reader.h"

namespace {

namespace diag = loftbay::diag;
namespace maker = loftbay::maker;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class OtherGeometry : public testing::Test {
 protected:
  OtherGeometry() : saved_(diag::programSeams()) {
    diag::programSeams().observer = &observer;
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    folder_ = std::filesystem::temp_directory_path() / (std::string("loftbay_other_") + test->name());
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
  }
  ~OtherGeometry() override {
    diag::programSeams() = saved_;
    std::error_code error;
    std::filesystem::remove_all(folder_, error);
  }
  OtherGeometry(const OtherGeometry&) = delete;
  OtherGeometry& operator=(const OtherGeometry&) = delete;

  [[nodiscard]] std::filesystem::path input() const { return folder_ / "model.jt"; }
  [[nodiscard]] std::string scene() const {
    return loftbay::host::toProgramPath((folder_ / "model.zix").string());
  }
  void convert() const {
    const std::string jt = loftbay::host::toProgramPath(input().string());
    bool success = false;
    { const loftbay::convert::obJt2Zix job(jt.c_str(), scene().c_str(), &success, true); }
    EXPECT_TRUE(success);
  }

  RecordedMessages observer;

 private:
  diag::ProgramSeams saved_;
  std::filesystem::path folder_;
};

// The volume of all triangles of a scene together.
double volumeOf(const Orb::Zix::SceneFile& file) {
  double volume = 0;
  for (std::uint32_t number = 0; number < file.objectCount(); ++number) {
    if (file.type(number) != Orb::Zix::ObjectType::Mesh) continue;
    const auto mesh = file.mesh(number);
    const auto points = file.coordinateValues(mesh.coordinates);
    const auto indices = file.indexValues(mesh.indices);
    for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
      const auto at = [&](std::size_t corner, std::size_t axis) {
        return double{points[3 * std::size_t{indices[i + corner]} + axis]};
      };
      volume += (at(0, 0) * (at(1, 1) * at(2, 2) - at(1, 2) * at(2, 1)) -
                 at(0, 1) * (at(1, 0) * at(2, 2) - at(1, 2) * at(2, 0)) +
                 at(0, 2) * (at(1, 0) * at(2, 1) - at(1, 1) * at(2, 0))) /
                6;
    }
  }
  return volume;
}

TEST_F(OtherGeometry, EveryTypeOfSolidReachesTheSceneWithItsVolume) {
  using Type = maker::PrimitiveSolid::Type;
  maker::Product product{"solids", {}, {}, maker::partRef(0)};
  product.parts.emplace_back().name = "solids";
  auto& level = product.parts[0].lods.emplace_back();
  double volume = 0;
  for (const Type type : {Type::Box, Type::Cylinder, Type::Pyramid, Type::Sphere, Type::TriPrism}) {
    maker::Shape shape;
    shape.kind = maker::ShapeKind::Solids;
    shape.solids = {{type, {7, 8, 9}, {3, 4, 5}, {0.5F, 0.5F, 0.5F, 0.5F}}};
    if (type == Type::Sphere) shape.solids[0].size = {4, 0, 0};
    volume += maker::volumeOf(shape.solids[0]);
    level.emplace_back(shape);
  }
  writeJtFile(product, {}, input());
  convert();
  EXPECT_THAT(observer.losses, IsEmpty());
  EXPECT_EQ(observer.counts[diag::Counted::Triangles], 12U + 204 + 6 + 2600 + 8);
  const auto file = Orb::Zix::SceneFile::open(scene());
  ASSERT_TRUE(file) << file.error().message;
  EXPECT_NEAR(volumeOf(*file), volume, volume * 0.005);
}

TEST_F(OtherGeometry, AWireframeIsLeftOutAndTheRestConverts) {
  constexpr maker::GuidValue kFrame{9, 1, 2, {}};
  constexpr maker::GuidValue kLonely{9, 1, 3, {}};
  GraphBuilder graph;
  graph.partition(0, {1}).name("root");
  graph.metaData(1, {2, 3}).name("assembly");
  graph.part(2, {4}).name("solid").lateLoaded("JT_LLPROP_WIREFRAME", kFrame, 18);
  graph.part(3, {}).name("drawing").lateLoaded("JT_LLPROP_WIREFRAME", kLonely, 18);
  graph.triStrips(4);
  graph.lateSegment(kFrame, 18, Bytes(100));
  graph.lateSegment(kLonely, 18, Bytes(3));
  const auto bytes = graph.file();
  std::ofstream(input(), std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  convert();
  // Nothing is lost: the console program answers 0.
  EXPECT_THAT(observer.losses, IsEmpty());
  EXPECT_THAT(observer.notes, Contains(HasSubstr("\"drawing\" has no shapes but a wireframe")).Times(1));
  EXPECT_EQ(observer.counts[diag::Counted::Triangles], 4U);

  const auto described =
      jttk::describeFile(loftbay::host::toProgramPath(input().string()), {.decode_shapes = true});
  EXPECT_THAT(described.losses, IsEmpty());
  EXPECT_THAT(described.notes, ElementsAre(HasSubstr("\"drawing\" has no shapes but a wireframe")));
  std::size_t wireframes = 0;
  for (const auto& segment : described.segments)
    wireframes += segment.type == "wireframe" ? segment.count : 0;
  EXPECT_EQ(wireframes, 2U);
}

}  // namespace
