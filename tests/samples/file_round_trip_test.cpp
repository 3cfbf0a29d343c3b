// Whole products that the maker writes, walked through the toolkit's public interface.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "host/path.h"
#include "samples/maker/beam_engine.h"
#include "samples/maker/quantise.h"
#include "samples/maker/sample_files.h"
#include "samples/maker/solids.h"
#include "samples/maker/survey.h"
#include "samples/maker/write_jt.h"
#include "tests/jttk/model/walk.h"

namespace loftbay::maker::test {
namespace {

namespace fs = std::filesystem;

struct Expected {
  std::vector<std::string> path;
  Matrix world{};
  std::optional<Rgba> color;      // of the shape or its part
  std::optional<Rgba> inherited;  // of the occurrence, when they have none
  std::size_t triangles = 0;
  std::uint64_t checksum = 0;
  std::size_t line_segments = 0;
  std::size_t points = 0;
};

// Sum of FNV-1a over the triangles, each from its smallest rotation on.
std::uint64_t checksum(const Shape& shape) {
  std::uint64_t sum = 0;
  for (std::size_t t = 0; t < shape.primitiveCount(); ++t) {
    std::array<std::array<unsigned char, 36>, 3> turns;
    for (std::size_t turn = 0; turn < 3; ++turn) {
      for (std::size_t k = 0; k < 3; ++k) {
        const Vec3& p = shape.positions[shape.corner_positions[3 * t + (turn + k) % 3]];
        const float xyz[] = {p.x + 0.0F, p.y + 0.0F, p.z + 0.0F};
        std::memcpy(turns[turn].data() + 12 * k, xyz, 12);
      }
    }
    std::uint64_t hash = 0xcbf29ce484222325U;
    for (const auto byte : *std::min_element(turns.begin(), turns.end()))
      hash = (hash ^ byte) * 0x100000001b3U;
    sum += hash;
  }
  return sum;
}

void expand(const Product& product, const Options& options, const Ref& ref, const std::string& name,
            std::vector<std::string> path, const Matrix& world, const std::optional<Material>& occurrence,
            std::vector<Expected>& out) {
  if (ref.kind == Ref::Kind::Assembly) {
    const auto& assembly = product.assemblies[ref.index];
    path.push_back(name.empty() ? assembly.name : name);
    for (const auto& child : assembly.children) {
      expand(product, options, child.target, child.name, path,
             child.transform ? multiplied(*child.transform, world) : world, child.material, out);
    }
    return;
  }
  const Part& part = product.parts[ref.index];
  if (part.hidden) return;
  path.push_back(name.empty() ? part.name : name);
  if (part.lods.empty()) return;
  for (const auto& source : part.lods[0]) {
    Expected e;
    e.path = path;
    e.world = world;
    if (part.material) e.color = part.material->diffuse;
    if (source.shape.material) e.color = source.shape.material->diffuse;
    if (!e.color && occurrence) e.inherited = occurrence->diffuse;
    const Shape& shape = source.shape;
    switch (shape.kind) {
      case ShapeKind::Polylines:
        e.line_segments = shape.corner_positions.size() - shape.primitiveCount();
        break;
      case ShapeKind::Points:
        e.points = shape.corner_positions.size();
        break;
      case ShapeKind::Triangles:
      case ShapeKind::Polygons:
      case ShapeKind::Solids:
        e.triangles = shape.primitiveCount();
        e.checksum = checksum(dequantised(shape, options));
        break;
    }
    out.push_back(std::move(e));
  }
}

class Folder {
 public:
  Folder() : path_(fs::path(testing::TempDir()) / "loftbay_round_trip") {
    fs::remove_all(path_);
    fs::create_directories(path_);
  }
  ~Folder() { fs::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  [[nodiscard]] const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

void expectWalks(const Product& product, const Options& options) {
  SCOPED_TRACE(std::string(options.versionText()) + (options.big_endian ? " big endian" : "") +
               (options.external_parts ? " external" : ""));
  const Folder folder;
  const fs::path file = folder.path() / "product.jt";
  writeJtFile(product, options, file);

  const jttk::testing::Recorder recorder;
  JtkEntityFactory::init(JtkEntityFactory::kernelDefault, JtkEntityFactory::environmentDefault, nullptr);
  JtkEntity* root = jttk::testing::import(host::toProgramPath(file.string()));
  ASSERT_NE(root, nullptr) << recorder.messages();
  const auto walked = jttk::testing::walk(root);
  root->unref();
  JtkEntityFactory::fini();
  EXPECT_TRUE(recorder.losses.empty()) << recorder.messages();

  std::vector<Expected> expected;
  expand(product, options, product.root, product.name, {}, kIdentity, std::nullopt, expected);
  ASSERT_EQ(walked.shapes.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const auto& found = walked.shapes[i];
    const auto& wanted = expected[i];
    EXPECT_EQ(found.path, wanted.path);
    EXPECT_EQ(found.triangles_nd, wanted.triangles) << wanted.path.back();
    EXPECT_EQ(found.checksum_nd, wanted.checksum) << wanted.path.back();
    EXPECT_EQ(found.line_segments, wanted.line_segments) << wanted.path.back();
    EXPECT_EQ(found.points, wanted.points) << wanted.path.back();
    for (std::size_t k = 0; k < 16; ++k)
      EXPECT_NEAR(found.world[k], wanted.world[k], 1e-4) << wanted.path.back();
    if (wanted.color) {
      EXPECT_TRUE(found.has_color);
      EXPECT_EQ(found.color, *wanted.color);
    } else if (found.has_color) {
      ASSERT_TRUE(wanted.inherited) << wanted.path.back();
      EXPECT_EQ(found.color, *wanted.inherited);
    }
  }
}

TEST(FileRoundTrip, TheEngineIsTheSameInEveryVersion) {
  const Product engine = beamEngine();
  for (const auto version : kJtVersions) expectWalks(engine, {.version = version});
}

TEST(FileRoundTrip, LinesAndPointsInEveryVersion) {
  const Product hill = survey();
  for (const auto version : kJtVersions) {
    expectWalks(hill, {.version = version});
    expectWalks(hill, {.version = version, .coordinate_bits = 20});
  }
}

TEST(FileRoundTrip, QuantisedAndBigEndianFiles) {
  const Product engine = beamEngine();
  for (const auto version : {JtVersion::V8_1, JtVersion::V9_5, JtVersion::V10_0}) {
    expectWalks(engine, {.version = version, .big_endian = true, .coordinate_bits = 24, .normal_bits = 10});
  }
}

TEST(FileRoundTrip, HiddenPartsAreLeftOutInEveryVersion) {
  Product engine = beamEngine();
  engine.parts[0].hidden = true;
  engine.parts[2].hidden = true;
  for (const auto version : kJtVersions) expectWalks(engine, {.version = version});
}

TEST(FileRoundTrip, SegmentTypesAndStoredSegmentsMakeNoDifference) {
  const Product engine = beamEngine();
  expectWalks(engine, {.plain_shape_segments = true, .stored_segments = true});
}

TEST(FileRoundTrip, PartsInFilesOfTheirOwn) {
  const Product engine = beamEngine();
  for (const auto version : kJtVersions) expectWalks(engine, {.version = version, .external_parts = true});
}

}  // namespace
}  // namespace loftbay::maker::test
