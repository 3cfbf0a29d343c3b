// The three routes by which exact geometry reaches a scene: tessellated on load, as level 0 of a part that an
// instance refers to, and in place of facets. All of them must give the triangles of the bodies themselves,
// to the bit and with the right winding; what is measured on the bodies then holds for the scene.
//
// Real files come from LOFTBAY_JT_SAMPLES, else from the folder beside the project; without them their tests
// are skipped.
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <bit>
#include <filesystem>
#include <fstream>
#include <map>

#include "convert/job.h"
#include "diag/program_seams.h"
#include "host/path.h"
#include "jttk/brep/read_xt_brep.h"
#include "jttk/brep/tessellate.h"
#include "jttk/brep/xt_model.h"
#include "jttk/brep/xt_segment.h"
#include "jttk/model/settings.h"
#include "samples/maker/flange_joint.h"
#include "samples/maker/write_jt.h"
#include "tests/conversion/recorded_messages.h"
#include "tests/jttk/brep/mesh_measures.h"
#include "tests/support/sample_folder.h"
#include "zix/reader.h"

namespace {

namespace brep = jttk::brep;
namespace fs = std::filesystem;
namespace maker = loftbay::maker;
using Orb::Zix::ObjectType;
using ::testing::IsEmpty;

// What the converter asks for.
constexpr float kChordPercent = 0.08F;
constexpr float kMinimumEdge = 0.02F;

using Corners = std::array<float, 9>;
// The bits of three corners, from the smallest on: the winding counts, where it starts does not.
using Key = std::array<std::uint32_t, 9>;

Key keyOf(const Corners& corners) {
  std::array<Key, 3> turns;
  for (std::size_t turn = 0; turn < 3; ++turn) {
    for (std::size_t k = 0; k < 9; ++k) {
      turns[turn][k] = std::bit_cast<std::uint32_t>(corners[(3 * turn + k) % 9]);
    }
  }
  return *std::min_element(turns.begin(), turns.end());
}

std::vector<Key> keysOf(const std::vector<Corners>& triangles) {
  std::vector<Key> keys;
  for (const Corners& t : triangles) keys.push_back(keyOf(t));
  std::sort(keys.begin(), keys.end());
  return keys;
}

// The triangles of one segment's bodies.
struct Exact {
  std::vector<std::uint8_t> stream;
  std::vector<std::vector<Corners>> bodies;
  std::vector<Key> keys;  // of all bodies, sorted
};

Corners cornersOf(const jttk::ShapeGeometry& shape, std::size_t triangle) {
  Corners corners{};
  for (std::size_t k = 0; k < 3; ++k) {
    const std::size_t p = shape.corner_positions[shape.primitive_starts[triangle] + k];
    for (std::size_t axis = 0; axis < 3; ++axis) corners[3 * k + axis] = shape.positions[3 * p + axis];
  }
  return corners;
}

Exact tessellated(const brep::Bodies& bodies, double units_per_metre) {
  brep::TessellationOptions options;
  options.chord_tolerance_percent = double{kChordPercent};
  options.minimum_edge_length = double{kMinimumEdge};
  options.units_per_metre = units_per_metre;
  const brep::TessellatedBodies made = brep::tessellate(bodies, options);
  EXPECT_TRUE(made.losses.empty());
  Exact exact;
  std::vector<Corners> all;
  for (const brep::TessellatedBody& body : made.bodies) {
    auto& triangles = exact.bodies.emplace_back();
    for (std::size_t t = 0; t < body.shape.primitiveCount(); ++t)
      triangles.push_back(cornersOf(body.shape, t));
    all.insert(all.end(), triangles.begin(), triangles.end());
  }
  exact.keys = keysOf(all);
  return exact;
}

Exact fromSegment(const jttk::Segment& segment, jttk::ByteOrder order) {
  const auto bodies = brep::readXtBrep(segment, order);
  EXPECT_TRUE(bodies) << bodies.error().text();
  if (!bodies) return {};
  Exact exact = tessellated(*bodies, brep::unitsPerMetre(*bodies, "Millimeters").value_or(1000));
  const auto data = brep::findXtData(segment.data, order, 0);
  for (const std::byte b : data->bytes) exact.stream.push_back(std::to_integer<std::uint8_t>(b));
  return exact;
}

// A strip's triangles; every second one is flipped, so that all have the first one's orientation.
void addStrip(const float* vertices, int count, bool reversed, std::vector<Corners>& triangles) {
  for (int k = 0; k + 2 < count; ++k) {
    int order[] = {k, k + 1, k + 2};
    if ((k % 2 != 0) != reversed) std::swap(order[0], order[1]);
    Corners corners{};
    for (std::size_t c = 0; c < 3; ++c) std::copy_n(vertices + 3 * order[c], 3, &corners[3 * c]);
    triangles.push_back(corners);
  }
}

std::vector<Corners> trianglesOf(JtkShape* shape, bool reversed) {
  std::vector<Corners> triangles;
  for (int i = 0; i < shape->getPrimitiveSetCount(); ++i) {
    float* arrays[2] = {};
    int counts[2] = {-1, -1};
    shape->getPrimitiveSetGeometry(i, arrays[0], counts[0], arrays[1], counts[1]);
    addStrip(arrays[0], counts[0], reversed, triangles);
    for (float* array : arrays) delete[] array;
  }
  return triangles;
}

class ExactWays : public testing::Test {
 protected:
  ExactWays() : saved_(loftbay::diag::programSeams()) {
    loftbay::diag::programSeams().observer = &observer;
    std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    std::replace(name.begin(), name.end(), '/', '_');
    folder_ = fs::temp_directory_path() / ("loftbay_ways_" + name);
    fs::remove_all(folder_);
    fs::create_directories(folder_);
  }
  ~ExactWays() override {
    jttk::settings().exact_geometry = false;
    loftbay::diag::programSeams() = saved_;
    std::error_code error;
    fs::remove_all(folder_, error);
  }

  // The triangles of each mesh of the scene, in the scene's order.
  std::vector<std::vector<Corners>> converted(const fs::path& input, bool optimize) {
    const std::string output = loftbay::host::toProgramPath((folder_ / "out.zix").string());
    bool success = false;
    {
      const loftbay::convert::obJt2Zix job(loftbay::host::toProgramPath(input.string()).c_str(),
                                           output.c_str(), &success, optimize);
    }
    EXPECT_TRUE(success);
    EXPECT_THAT(observer.losses, IsEmpty());
    const auto scene = Orb::Zix::SceneFile::open(output);
    if (!scene) {
      ADD_FAILURE() << scene.error().message;
      return {};
    }
    std::vector<std::vector<Corners>> meshes;
    for (std::uint32_t number = 0; number < scene->objectCount(); ++number) {
      if (scene->type(number) != ObjectType::Mesh) continue;
      const auto mesh = scene->mesh(number);
      const auto coordinates = scene->coordinateValues(mesh.coordinates);
      const auto indices = scene->indexValues(mesh.indices);
      auto& triangles = meshes.emplace_back();
      for (std::size_t t = 0; t + 2 < indices.size(); t += 3) {
        Corners corners{};
        for (std::size_t k = 0; k < 3; ++k) {
          const float* const point = &coordinates[3 * std::size_t{indices[t + k]}];
          std::copy_n(point, 3, &corners[3 * k]);
        }
        triangles.push_back(corners);
      }
    }
    return meshes;
  }

  [[nodiscard]] const fs::path& folder() const { return folder_; }
  RecordedMessages observer;

 private:
  loftbay::diag::ProgramSeams saved_;
  fs::path folder_;
};

brep::MeshMeasures measured(const std::vector<Corners>& triangles) {
  jttk::ShapeGeometry shape;
  shape.normals = {0, 0, 1};
  for (const Corners& t : triangles) {
    shape.primitive_starts.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
    for (int k = 0; k < 3; ++k) {
      shape.corner_positions.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
      shape.corner_records.push_back(0);
    }
    shape.positions.insert(shape.positions.end(), t.begin(), t.end());
  }
  shape.primitive_starts.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
  return brep::measure(shape);
}

// The body of each triangle of a mesh.
std::vector<std::size_t> bodiesOf(const std::vector<Corners>& mesh, const Exact& exact) {
  std::multimap<Key, std::size_t> known;
  for (std::size_t b = 0; b < exact.bodies.size(); ++b) {
    for (const Corners& t : exact.bodies[b]) known.emplace(keyOf(t), b);
  }
  std::vector<std::size_t> bodies;
  for (const Corners& t : mesh) {
    const auto found = known.find(keyOf(t));
    if (found == known.end()) return {};
    bodies.push_back(found->second);
    known.erase(found);
  }
  return bodies;
}

class ExactWaysOfRealFiles : public ExactWays, public testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    path = loftbay::testing_support::sampleFolder() / (std::string(GetParam()) + ".jt");
    if (!fs::exists(path)) {
      GTEST_SKIP() << "no sample files: set LOFTBAY_JT_SAMPLES to their folder";
    }
    std::ifstream stream(path, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(stream), {});
    const auto file = jttk::JtFile::fromBytes(std::as_bytes(std::span(bytes_)));
    ASSERT_TRUE(file) << file.error().text();
    for (const jttk::TocEntry& entry : (*file)->contents()) {
      if (entry.type != jttk::SegmentType::XtBrep) continue;
      const auto segment = (*file)->segment(entry);
      ASSERT_TRUE(segment) << segment.error().text();
      exact.push_back(fromSegment(*segment, (*file)->byteOrder()));
    }
    ASSERT_FALSE(exact.empty());
  }

  // Per segment a part that is a child of the assembly itself, and one that an instance refers to.
  [[nodiscard]] maker::Product bothWays() const {
    maker::Product product;
    product.name = "both";
    maker::Assembly root{"both", "Millimeters", std::nullopt, {}};
    for (const Exact& one : exact) {
      for (const bool direct : {true, false}) {
        maker::Part part{"part " + std::to_string(product.parts.size()), "Millimeters", std::nullopt, {}, {}};
        part.exact = maker::ExactGeometry{one.stream, {}, {}};
        root.children.push_back(
            {maker::partRef(product.parts.size()), "", std::nullopt, std::nullopt, direct});
        product.parts.push_back(std::move(part));
      }
    }
    product.assemblies.push_back(std::move(root));
    product.root = maker::assemblyRef(0);
    return product;
  }

  fs::path path;
  std::vector<Exact> exact;

 private:
  std::vector<char> bytes_;
};

TEST_P(ExactWaysOfRealFiles, ToolkitGivesTheTrianglesOfTheBodiesOnBothWays) {
  const fs::path file = folder() / "both.jt";
  maker::writeJtFile(bothWays(), {}, file);
  JtkEntityFactory::init(JtkEntityFactory::kernelDefault, JtkEntityFactory::environmentDefault, nullptr);
  JtkString no_text;
  JtkTessParams* const parameters = JtkEntityFactory::createTessParams(kChordPercent, kChordPercent, 0.1F, 1,
                                                                       1, 1, kMinimumEdge, 0, no_text, 0);
  JtkCADImporter* const importer = JtkEntityFactory::createCADImporter();
  importer->ref();
  JtkEntity* const root =
      importer->importFile(JtkString(loftbay::host::toProgramPath(file.string()).c_str()));
  ASSERT_NE(root, nullptr);
  root->ref();
  auto* const assembly = static_cast<JtkAssembly*>(root);
  ASSERT_EQ(assembly->numChildren(), static_cast<int>(2 * exact.size()));
  for (std::size_t i = 0; i < exact.size(); ++i) {
    auto* const direct = static_cast<JtkPart*>(assembly->getChild(static_cast<int>(2 * i)));
    ASSERT_EQ(direct->typeID(), JtkEntity::JtkPART);
    EXPECT_NE(direct->requiresTessellation(), 0);
    JtkEntityList* results = nullptr;
    ASSERT_EQ(direct->tessellate(parameters, results), 1);
    results->ref();
    EXPECT_EQ(keysOf(trianglesOf(static_cast<JtkShape*>((*results)[0]), true)), exact[i].keys);
    results->unref();
    auto* const instance = static_cast<JtkInstance*>(assembly->getChild(static_cast<int>(2 * i + 1)));
    ASSERT_EQ(instance->typeID(), JtkEntity::JtkINSTANCE);
    auto* const referenced = static_cast<JtkPart*>(instance->getReferencedNode());
    EXPECT_EQ(referenced->requiresTessellation(), 0);
    ASSERT_EQ(referenced->numShapes(0), 1);
    JtkShape* shape = nullptr;
    referenced->getShape(shape, 0, 0);
    EXPECT_EQ(keysOf(trianglesOf(shape, false)), exact[i].keys);
  }
  root->unref();
  importer->unref();
  JtkEntityFactory::fini();
  EXPECT_THAT(observer.losses, IsEmpty());
}

TEST_P(ExactWaysOfRealFiles, SceneHoldsTheTrianglesOfTheBodiesOnBothWaysInEveryVersion) {
  using maker::JtVersion;
  for (const maker::Options& options :
       {maker::Options{.version = JtVersion::V8_1},
        maker::Options{.version = JtVersion::V9_5, .big_endian = true},
        maker::Options{.version = JtVersion::V10_0, .external_parts = true}}) {
    SCOPED_TRACE(options.versionText());
    const fs::path file = folder() / (std::string("both") + options.versionText() + ".jt");
    maker::writeJtFile(bothWays(), options, file);
    const auto meshes = converted(file, false);
    ASSERT_EQ(meshes.size(), 2 * exact.size());
    for (std::size_t i = 0; i < meshes.size(); ++i) EXPECT_EQ(keysOf(meshes[i]), exact[i / 2].keys) << i;
  }
}

TEST_P(ExactWaysOfRealFiles, BodiesOfTheSceneAreClosedWhenTheyTakeThePlaceOfFacets) {
  jttk::settings().exact_geometry = true;
  const auto plain = converted(path, false);
  const auto merged = converted(path, true);
  ASSERT_EQ(plain.size(), merged.size());
  ASSERT_GE(plain.size(), exact.size());
  std::vector<bool> seen(exact.size(), false);
  for (std::size_t m = 0; m < plain.size(); ++m) {
    const auto keys = keysOf(plain[m]);
    const auto is_this = [&](const Exact& one) { return one.keys == keys; };
    const auto found = std::find_if(exact.begin(), exact.end(), is_this);
    ASSERT_NE(found, exact.end()) << "mesh " << m << " is none of the segments' geometry";
    seen[static_cast<std::size_t>(found - exact.begin())] = true;
    const auto bodies = bodiesOf(plain[m], *found);
    ASSERT_EQ(bodies.size(), merged[m].size());
    for (std::size_t b = 0; b < found->bodies.size(); ++b) {
      for (const auto* triangles : {&plain[m], &merged[m]}) {
        std::vector<Corners> own;
        for (std::size_t t = 0; t < bodies.size(); ++t) {
          if (bodies[t] == b) own.push_back((*triangles)[t]);
        }
        const brep::MeshMeasures measures = measured(own);
        EXPECT_EQ(measures.open_edges, 0U) << "mesh " << m << ", body " << b;
        EXPECT_GT(measures.volume, 0) << "mesh " << m << ", body " << b;
        std::printf("mesh %zu, body %zu%s: %zu triangles, %zu open edges, area %.7g, volume %.7g\n", m, b,
                    triangles == &merged[m] ? ", vertices merged" : "", measures.triangles,
                    measures.open_edges, measures.area, measures.volume);
      }
    }
  }
  EXPECT_TRUE(std::all_of(seen.begin(), seen.end(), [](bool s) { return s; }));
}

INSTANTIATE_TEST_SUITE_P(Jt, ExactWaysOfRealFiles, testing::Values("fan_v9.0", "bolt", "nut"),
                         [](const testing::TestParamInfo<const char*>& name) {
                           return std::string(name.param).substr(0, std::string(name.param).find('_'));
                         });

TEST_F(ExactWays, EveryVersionAndByteOrderGivesTheSameTriangles) {
  using maker::JtVersion;
  const maker::Product joint = maker::flangeJoint();
  std::vector<Exact> exact;
  for (const maker::Part& part : joint.parts) {
    const auto nodes = brep::XtNodes::read(std::as_bytes(std::span(part.exact->stream)), 0);
    ASSERT_TRUE(nodes) << nodes.error().text();
    exact.push_back(tessellated(brep::buildBodies(*nodes), 1));
  }
  for (const JtVersion version : {JtVersion::V8_0, JtVersion::V8_1, JtVersion::V8_2, JtVersion::V9_0,
                                  JtVersion::V9_5, JtVersion::V10_0}) {
    for (const bool big_endian : {false, true}) {
      for (const bool external : {false, true}) {
        const maker::Options options{
            .version = version, .big_endian = big_endian, .external_parts = external};
        SCOPED_TRACE(std::string(options.versionText()) + (big_endian ? " big-endian" : "") +
                     (external ? ", parts in files of their own" : ""));
        const fs::path file = folder() / "joint.jt";
        maker::writeJtFile(joint, options, file);
        const auto meshes = converted(file, false);
        ASSERT_EQ(meshes.size(), 3U);
        EXPECT_EQ(keysOf(meshes[0]), exact[0].keys);
        EXPECT_EQ(keysOf(meshes[1]), exact[0].keys);
        EXPECT_EQ(keysOf(meshes[2]), exact[1].keys);
      }
    }
  }
}

TEST_F(ExactWays, UnitsOfThePartScaleTheTriangles) {
  struct Case {
    const char* units;
    double per_metre;
  };
  for (const Case& c :
       {Case{"Millimeters", 1000}, Case{"Inches", 1 / 0.0254}, Case{"meters", 1}, Case{"Feet", 1 / 0.3048}}) {
    SCOPED_TRACE(c.units);
    maker::Product joint = maker::flangeJoint();
    for (maker::Part& part : joint.parts) part.units = c.units;
    const auto nodes = brep::XtNodes::read(std::as_bytes(std::span(joint.parts[0].exact->stream)), 0);
    ASSERT_TRUE(nodes);
    const Exact exact = tessellated(brep::buildBodies(*nodes), c.per_metre);
    const fs::path file = folder() / "joint.jt";
    maker::writeJtFile(joint, {}, file);
    EXPECT_EQ(keysOf(converted(file, false).at(0)), exact.keys);
  }
}

}  // namespace
