// Lines and points through the whole converter, in every version, codec and byte order, with and without
// loss, bare and with attributes. Without merging the scene holds what the file's maker wrote, in its order
// and bit for bit (quantised files: the dequantised values); merging replaces vertices whose texts are equal
// by the first of them.
#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <filesystem>
#include <map>
#include <sstream>

#include "convert/job.h"
#include "host/path.h"
#include "samples/maker/quantise.h"
#include "samples/maker/survey.h"
#include "samples/maker/write_jt.h"
#include "zix/reader.h"

namespace {

namespace maker = loftbay::maker;
using maker::JtVersion;
using Orb::Zix::MeshType;
using Orb::Zix::ObjectType;

// The bits of the coordinates of one line, or of one point.
using Element = std::vector<std::uint32_t>;
// Of one shape, in order.
struct Mesh {
  std::vector<Element> elements;
  std::size_t vertices = 0;
  friend bool operator==(const Mesh&, const Mesh&) = default;
};

void addPoint(Element& element, const float* point) {
  for (int k = 0; k < 3; ++k) element.push_back(std::bit_cast<std::uint32_t>(point[k]));
}

// Gives the first vertex for every one that reads alike.
class Merger {
 public:
  maker::Vec3 operator()(const maker::Vec3& p) {
    std::ostringstream text;
    text << p.x << ' ' << p.y << ' ' << p.z;
    return first_.try_emplace(text.str(), p).first->second;
  }
  [[nodiscard]] std::size_t size() const { return first_.size(); }

 private:
  std::map<std::string, maker::Vec3> first_;
};

Mesh meshOf(const maker::Shape& shape, bool merged) {
  Mesh mesh;
  Merger merger;
  for (std::size_t i = 0; i < shape.primitiveCount(); ++i) {
    Element element;
    for (std::uint32_t c = shape.primitive_starts[i]; c < shape.primitive_starts[i + 1]; ++c) {
      const maker::Vec3& stored = shape.positions[shape.corner_positions[c]];
      const maker::Vec3 p = merged && shape.kind == maker::ShapeKind::Polylines ? merger(stored) : stored;
      const float values[3] = {p.x, p.y, p.z};
      addPoint(element, values);
      if (shape.kind == maker::ShapeKind::Points) mesh.elements.push_back(std::exchange(element, {}));
    }
    if (!element.empty()) mesh.elements.push_back(element);
  }
  mesh.vertices = merger.size() > 0 ? merger.size() : shape.corner_positions.size();
  return mesh;
}

std::vector<Mesh> written(const maker::Product& product, maker::ShapeKind kind, const maker::Options& options,
                          bool merged) {
  std::vector<Mesh> meshes;
  for (const maker::Part& part : product.parts) {
    for (const maker::ShapeSource& source : part.lods.at(0)) {
      const maker::Shape whole = source.generate ? source.generate() : source.shape;
      if (whole.kind == kind)
        meshes.push_back(meshOf(maker::dequantised(whole, options.effective()), merged));
    }
  }
  return meshes;
}

std::vector<Mesh> read(const Orb::Zix::SceneFile& scene, MeshType type) {
  std::vector<Mesh> meshes;
  for (std::uint32_t number = 0; number < scene.objectCount(); ++number) {
    if (scene.type(number) != ObjectType::Mesh) continue;
    const auto mesh = scene.mesh(number);
    if (mesh.mesh_type != static_cast<std::uint32_t>(type)) continue;
    const auto coordinates = scene.coordinateValues(mesh.coordinates);
    const auto indices = scene.indexValues(mesh.indices);
    Mesh& found = meshes.emplace_back();
    found.vertices = coordinates.size() / 3;
    std::size_t next = 0;
    for (const std::uint32_t length : scene.indexValues(mesh.lengths)) {
      Element element;
      for (std::uint32_t i = 0; i < length; ++i) {
        addPoint(element, &coordinates[3 * std::size_t{indices[next++]}]);
        if (type == MeshType::Points) found.elements.push_back(std::exchange(element, {}));
      }
      if (!element.empty()) found.elements.push_back(element);
    }
  }
  return meshes;
}

struct Attributes {
  bool normals = false;
  bool colors = false;
};
constexpr Attributes kAttributes[] = {{false, false}, {true, false}, {false, true}, {true, true}};

// Open and closed lines, one of a single segment, corners that meet others exactly and nearly, a zero with a
// sign, all over a flat third coordinate; and the same corners as points.
maker::Shape sample(maker::ShapeKind kind, Attributes attributes) {
  maker::Shape shape;
  shape.kind = kind;
  shape.positions = {{0, 0, 2.5F},          {1.5F, -0.0F, 2.5F}, {1.5F, 3, 2.5F},
                     {-7.25F, 1e-3F, 2.5F}, {1.5F, 3, 2.5F},     {1.5000001F, 3, 2.5F},
                     {120, -44, 2.5F},      {0.1F, 0.2F, 2.5F},  {33, 33.33F, 2.5F}};
  const std::vector<std::vector<std::uint32_t>> lines = {{0, 1, 2, 0}, {3, 4}, {5, 6, 7, 8, 3, 1}, {2, 5}};
  for (const auto& line : lines) {
    shape.corner_positions.insert(shape.corner_positions.end(), line.begin(), line.end());
    shape.primitive_starts.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
  }
  if (!attributes.normals && !attributes.colors) return shape;
  for (std::uint32_t i = 0; i < shape.corner_positions.size(); ++i) {
    const auto share = static_cast<float>(i % 5) / 4;
    if (attributes.normals)
      shape.normals.push_back(i % 2 == 0 ? maker::Vec3{0, 0, 1} : maker::Vec3{0, -1, 0});
    if (attributes.colors) shape.colors.push_back({share, 1 - share, 0.25F, 1});
    shape.corner_records.push_back(i);
  }
  return shape;
}

// A part for every combination of attributes, with a shape of lines and one of points.
maker::Product samples() {
  maker::Product product;
  product.name = "lines and points";
  maker::Assembly assembly;
  assembly.name = product.name;
  for (const Attributes& attributes : kAttributes) {
    maker::Part part;
    part.name = "part " + std::to_string(product.parts.size());
    part.lods = {
        {sample(maker::ShapeKind::Polylines, attributes), sample(maker::ShapeKind::Points, attributes)}};
    maker::Child child;
    child.target = maker::partRef(product.parts.size());
    assembly.children.push_back(child);
    product.parts.push_back(part);
  }
  product.assemblies.push_back(assembly);
  product.root = maker::assemblyRef(0);
  return product;
}

class LinesAndPoints : public testing::TestWithParam<JtVersion> {
 protected:
  LinesAndPoints() {
    const auto number = std::to_string(static_cast<int>(GetParam()));
    folder_ = std::filesystem::temp_directory_path() / ("loftbay_lines_and_points_" + number);
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
  }
  ~LinesAndPoints() override {
    loftbay::convert::ignoreLines = true;
    loftbay::convert::ignorePoints = true;
    std::error_code error;
    std::filesystem::remove_all(folder_, error);
  }
  LinesAndPoints(const LinesAndPoints&) = delete;
  LinesAndPoints& operator=(const LinesAndPoints&) = delete;

  static void ignoreBoth(bool ignore) {
    loftbay::convert::ignoreLines = ignore;
    loftbay::convert::ignorePoints = ignore;
  }

  void convert(const maker::Product& product, const maker::Options& options, bool optimize,
               std::vector<Mesh>& lines, std::vector<Mesh>& points) const {
    maker::writeJtFile(product, options, folder_ / "in.jt");
    const std::string output = loftbay::host::toProgramPath((folder_ / "out.zix").string());
    bool success = false;
    {
      const loftbay::convert::obJt2Zix job(loftbay::host::toProgramPath((folder_ / "in.jt").string()).c_str(),
                                           output.c_str(), &success, optimize);
    }
    ASSERT_TRUE(success);
    const auto scene = Orb::Zix::SceneFile::open(output);
    ASSERT_TRUE(scene) << scene.error().message;
    lines = read(*scene, MeshType::Lines);
    points = read(*scene, MeshType::Points);
  }

  void expectSame(const maker::Product& product, const maker::Options& options, bool optimize) const {
    SCOPED_TRACE(std::string(options.versionText()) + (options.big_endian ? " big endian" : "") + " codec " +
                 std::to_string(static_cast<int>(options.codec)) + " bits " +
                 std::to_string(options.coordinate_bits) + (optimize ? " merged" : ""));
    std::vector<Mesh> lines;
    std::vector<Mesh> points;
    ASSERT_NO_FATAL_FAILURE(convert(product, options, optimize, lines, points));
    EXPECT_FALSE(lines.empty());
    EXPECT_TRUE(lines == written(product, maker::ShapeKind::Polylines, options, optimize));
    EXPECT_TRUE(points == written(product, maker::ShapeKind::Points, options, optimize));
  }

 private:
  std::filesystem::path folder_;
};

TEST_P(LinesAndPoints, AreThoseOfTheFileInEveryCoding) {
  ignoreBoth(false);
  const maker::Product product = samples();
  for (const bool big_endian : {false, true}) {
    for (const int bits : {0, 12, 24}) {
      maker::Options options;
      options.version = GetParam();
      options.big_endian = big_endian;
      options.coordinate_bits = static_cast<std::uint8_t>(bits);
      options.normal_bits = static_cast<std::uint8_t>(bits == 0 ? 0 : 8);
      options.color_bits = static_cast<std::uint8_t>(bits == 0 ? 0 : 8);
      for (const maker::Codec codec : maker::codecsOf(options.version)) {
        options.codec = codec;
        expectSame(product, options, false);
        expectSame(product, options, true);
      }
    }
  }
}

TEST_P(LinesAndPoints, OfAWholeSurveyAreThoseOfTheFile) {
  ignoreBoth(false);
  maker::Options options;
  options.version = GetParam();
  for (const int bits : {0, 12}) {
    options.coordinate_bits = static_cast<std::uint8_t>(bits);
    expectSame(maker::survey(), options, false);
  }
}

TEST_P(LinesAndPoints, StayOutWhenTheyAreIgnored) {
  ignoreBoth(true);
  maker::Options options;
  options.version = GetParam();
  std::vector<Mesh> lines;
  std::vector<Mesh> points;
  convert(samples(), options, true, lines, points);
  EXPECT_TRUE(lines.empty());
  EXPECT_TRUE(points.empty());
}

INSTANTIATE_TEST_SUITE_P(EveryVersion, LinesAndPoints,
                         testing::Values(JtVersion::V8_0, JtVersion::V8_1, JtVersion::V8_2, JtVersion::V9_0,
                                         JtVersion::V9_5, JtVersion::V10_0));

}  // namespace
