// Lines and points through the whole converter, in every version and coding: without merging, the scene holds
// what the file's maker wrote, bit for bit (quantised files: what the codes stand for).
#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <filesystem>

#include "convert/job.h"
#include "host/path.h"
#include "samples/maker/quantise.h"
#include "samples/maker/survey.h"
#include "samples/maker/write_jt.h"
#include "zix/reader.h"

namespace {

namespace maker = loftbay::maker;
using Orb::Zix::MeshType;
using Orb::Zix::ObjectType;

// The bits of the coordinates of one line, or of one point; sorted, because files may hold them in any order.
using Element = std::vector<std::uint32_t>;
using Elements = std::vector<Element>;

void addPoint(Element& element, const float* point) {
  for (int k = 0; k < 3; ++k) element.push_back(std::bit_cast<std::uint32_t>(point[k]));
}

Elements written(const maker::Product& product, maker::ShapeKind kind, const maker::Options& options) {
  Elements elements;
  for (const maker::Part& part : product.parts) {
    for (const maker::ShapeSource& source : part.lods.at(0)) {
      const maker::Shape whole = source.generate ? source.generate() : source.shape;
      if (whole.kind != kind) continue;
      const maker::Shape shape = maker::dequantised(whole, options);
      for (std::size_t i = 0; i < shape.primitiveCount(); ++i) {
        Element element;
        for (std::uint32_t c = shape.primitive_starts[i]; c < shape.primitive_starts[i + 1]; ++c) {
          const auto& p = shape.positions[shape.corner_positions[c]];
          const float values[3] = {p.x, p.y, p.z};
          addPoint(element, values);
          if (kind == maker::ShapeKind::Points) elements.push_back(std::exchange(element, {}));
        }
        if (!element.empty()) elements.push_back(element);
      }
    }
  }
  std::sort(elements.begin(), elements.end());
  return elements;
}

Elements read(const Orb::Zix::SceneFile& scene, MeshType type) {
  Elements elements;
  for (std::uint32_t number = 0; number < scene.objectCount(); ++number) {
    if (scene.type(number) != ObjectType::Mesh) continue;
    const auto mesh = scene.mesh(number);
    if (mesh.mesh_type != static_cast<std::uint32_t>(type)) continue;
    const auto coordinates = scene.coordinateValues(mesh.coordinates);
    const auto indices = scene.indexValues(mesh.indices);
    std::size_t next = 0;
    for (const std::uint32_t length : scene.indexValues(mesh.lengths)) {
      Element element;
      for (std::uint32_t i = 0; i < length; ++i) {
        addPoint(element, &coordinates[3 * std::size_t{indices[next++]}]);
        if (type == MeshType::Points) elements.push_back(std::exchange(element, {}));
      }
      if (!element.empty()) elements.push_back(element);
    }
  }
  std::sort(elements.begin(), elements.end());
  return elements;
}

struct Coding {
  maker::JtVersion version;
  std::uint8_t bits;
};

class LinesAndPoints : public testing::TestWithParam<Coding> {
 protected:
  LinesAndPoints() {
    std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    std::replace(name.begin(), name.end(), '/', '_');
    folder_ = std::filesystem::temp_directory_path() / ("loftbay_" + name);
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    options.version = GetParam().version;
    options.coordinate_bits = GetParam().bits;
    maker::writeJtFile(product, options, folder_ / "survey.jt");
  }
  ~LinesAndPoints() override {
    loftbay::convert::ignoreLines = true;
    loftbay::convert::ignorePoints = true;
    std::error_code error;
    std::filesystem::remove_all(folder_, error);
  }
  LinesAndPoints(const LinesAndPoints&) = delete;
  LinesAndPoints& operator=(const LinesAndPoints&) = delete;

  void convert(Elements& lines, Elements& points) const {
    const std::string output = loftbay::host::toProgramPath((folder_ / "out.zix").string());
    bool success = false;
    {
      const loftbay::convert::obJt2Zix job(
          loftbay::host::toProgramPath((folder_ / "survey.jt").string()).c_str(), output.c_str(), &success,
          false);
    }
    ASSERT_TRUE(success);
    const auto scene = Orb::Zix::SceneFile::open(output);
    ASSERT_TRUE(scene) << scene.error().message;
    lines = read(*scene, MeshType::Lines);
    points = read(*scene, MeshType::Points);
  }

  maker::Product product = maker::survey();
  maker::Options options;

 private:
  std::filesystem::path folder_;
};

TEST_P(LinesAndPoints, AreThoseOfTheFileToTheBit) {
  loftbay::convert::ignoreLines = false;
  loftbay::convert::ignorePoints = false;
  Elements lines;
  Elements points;
  convert(lines, points);
  EXPECT_FALSE(lines.empty());
  EXPECT_FALSE(points.empty());
  EXPECT_EQ(lines, written(product, maker::ShapeKind::Polylines, options));
  EXPECT_EQ(points, written(product, maker::ShapeKind::Points, options));
}

TEST_P(LinesAndPoints, StayOutWhenTheyAreIgnored) {
  Elements lines;
  Elements points;
  convert(lines, points);
  EXPECT_TRUE(lines.empty());
  EXPECT_TRUE(points.empty());
}

using maker::JtVersion;
INSTANTIATE_TEST_SUITE_P(EveryVersion, LinesAndPoints,
                         testing::Values(Coding{JtVersion::V8_0, 0}, Coding{JtVersion::V8_0, 12},
                                         Coding{JtVersion::V8_1, 0}, Coding{JtVersion::V8_1, 12},
                                         Coding{JtVersion::V8_2, 0}, Coding{JtVersion::V8_2, 12},
                                         Coding{JtVersion::V9_0, 0}, Coding{JtVersion::V9_0, 12},
                                         Coding{JtVersion::V9_5, 0}, Coding{JtVersion::V9_5, 12},
                                         Coding{JtVersion::V10_0, 0}, Coding{JtVersion::V10_0, 12}));

}  // namespace
