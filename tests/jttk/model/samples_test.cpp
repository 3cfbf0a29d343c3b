// Scene graphs and product structures of the sample files against what an independent decoder found in them.
// The files are not part of the project: without the folder the tests are skipped.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "host/path.h"
#include "jttk/graph/properties.h"
#include "jttk/interface/objects.h"
#include "jttk/model/document.h"
#include "jttk/model/settings.h"
#include "tests/jttk/model/walk.h"
#include "tests/support/sample_folder.h"

namespace {

namespace fs = std::filesystem;
using jttk::Document;
using jttk::Node;
using jttk::NodeKind;
using jttk::SceneGraph;
using loftbay::testing_support::sampleFolder;
using nlohmann::json;

std::vector<fs::path> sampleFiles() {
  std::vector<fs::path> files;
  if (!fs::exists(sampleFolder())) return files;
  for (const auto& entry : fs::recursive_directory_iterator(sampleFolder())) {
    if (entry.path().extension() == ".jt") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

json expectedOf(const fs::path& file) {
  const fs::path relative = fs::relative(file, sampleFolder());
  std::ifstream stream((sampleFolder() / "expected" / relative).replace_extension(".json"));
  return json::parse(stream);
}

std::string programPath(const fs::path& path) { return loftbay::host::toProgramPath(path.string()); }

NodeKind kindOf(const std::string& text) {
  static const std::map<std::string, NodeKind> kinds = {{"partition", NodeKind::Partition},
                                                        {"metadata", NodeKind::MetaData},
                                                        {"part", NodeKind::Part},
                                                        {"group", NodeKind::Group},
                                                        {"instance", NodeKind::Instance},
                                                        {"lod", NodeKind::Lod},
                                                        {"rangelod", NodeKind::RangeLod},
                                                        {"switch", NodeKind::Switch},
                                                        {"tristripset", NodeKind::TriStripSet},
                                                        {"polylineset", NodeKind::PolylineSet},
                                                        {"pointset", NodeKind::PointSet},
                                                        {"polygonset", NodeKind::PolygonSet}};
  return kinds.at(text);
}

template <typename Container>
void expectNumbers(const json& expected, const Container& found, const char* what) {
  ASSERT_EQ(expected.size(), found.size()) << what;
  for (std::size_t i = 0; i < found.size(); ++i) {
    EXPECT_EQ(expected[i].get<double>(), static_cast<double>(found[i])) << what << ' ' << i;
  }
}

// Five numbers hold an emission and a specular colour, one of them as a single number. The reference splits
// them differently (1 + 4 for 4 + 1), which gives emissions that glow with the specular colour and have an
// alpha of 0. The numbers themselves must agree.
void compareOneOfTwo(const jttk::MaterialValues& material, const json& reference) {
  const bool one_emission = (material.data_flags & 4U) != 0;
  const auto specular = reference["specular"].get<std::vector<float>>();
  const auto emission = reference["emission"].get<std::vector<float>>();
  std::vector<float> stored;
  if (one_emission) {
    stored = {specular[0], emission[0], emission[1], emission[2], emission[3]};
    EXPECT_THAT(material.specular, testing::ElementsAre(stored[0], stored[1], stored[2], stored[3]));
    EXPECT_THAT(material.emission, testing::ElementsAre(stored[4], stored[4], stored[4], 1));
  } else {
    stored = {specular[0], specular[1], specular[2], specular[3], emission[0]};
    EXPECT_THAT(material.specular, testing::ElementsAre(stored[0], stored[0], stored[0], 1));
    EXPECT_THAT(material.emission, testing::ElementsAre(stored[1], stored[2], stored[3], stored[4]));
  }
}

void compareAttributes(const SceneGraph& graph, jttk::Version version, const Node& node,
                       const json& expected) {
  const jttk::TransformElements* transform = nullptr;
  const jttk::MaterialValues* material = nullptr;
  for (std::uint32_t i = 0; i < node.attributes.count; ++i) {
    const std::uint32_t index = graph.node_attributes[node.attributes.first + i];
    if (index == jttk::kNone) continue;
    const jttk::Attribute& attribute = graph.attributes[index];
    if (attribute.kind == jttk::AttributeKind::Transform) transform = &graph.transforms[attribute.value];
    if (attribute.kind == jttk::AttributeKind::Material) material = &graph.materials[attribute.value];
  }
  ASSERT_EQ(expected.contains("transform"), transform != nullptr);
  if (transform != nullptr) expectNumbers(expected["transform"], *transform, "transform");
  ASSERT_EQ(expected.contains("material"), material != nullptr);
  if (material == nullptr) return;
  const json& values = expected["material"];
  EXPECT_EQ(values["data_flags"], material->data_flags);
  EXPECT_EQ(values["shininess"].get<float>(), material->shininess);
  expectNumbers(values["ambient"], material->ambient, "ambient");
  expectNumbers(values["diffuse"], material->diffuse, "diffuse");
  const unsigned flags = material->data_flags;
  if (version.major >= 9 || (flags & 1U) == 0 || ((flags >> 2U) & 1U) == ((flags >> 3U) & 1U)) {
    expectNumbers(values["specular"], material->specular, "specular");
    expectNumbers(values["emission"], material->emission, "emission");
  } else {
    compareOneOfTwo(*material, values);
  }
}

void compareFigures(const SceneGraph& graph, const Node& node, const json& expected) {
  ASSERT_EQ(expected.contains("bbox"), node.statistics != jttk::kNone);
  if (node.statistics == jttk::kNone) return;
  const jttk::NodeStatistics& figures = graph.statistics[node.statistics];
  expectNumbers(expected["bbox"], figures.box, "box");
  EXPECT_EQ(expected["area"].get<float>(), figures.area);
  expectNumbers(expected["vertex_count"], figures.vertex_count, "vertex count");
  expectNumbers(expected["polygon_count"], figures.polygon_count, "polygon count");
}

void compareProperties(const SceneGraph& graph, const Node& node, const json& expected) {
  EXPECT_EQ(expected.value("name", ""), graph.text(node.name));
  EXPECT_EQ(expected.value("units", ""), graph.text(node.units));
  EXPECT_EQ(expected.value("file", ""), graph.text(node.file_name));
  const std::uint32_t shape = graph.findLateLoaded(node, jttk::kShapeKey);
  EXPECT_EQ(expected.value("segment", ""),
            shape == jttk::kNone ? "" : graph.late_loaded[shape].segment.text());
  std::vector<std::string> keys;
  for (std::uint32_t i = 0; i < node.late_loaded.count; ++i) {
    const std::string& key = graph.strings[graph.late_loaded[node.late_loaded.first + i].key];
    if (key != jttk::kShapeKey) keys.push_back(key);
  }
  std::sort(keys.begin(), keys.end());
  EXPECT_EQ(expected.value("late_loaded", std::vector<std::string>()), keys);
}

TEST(SampleFiles, SceneGraphsHoldWhatAnotherDecoderFound) {
  const auto files = sampleFiles();
  if (files.empty()) GTEST_SKIP() << "no sample files in " << sampleFolder();
  std::size_t nodes = 0;
  for (const fs::path& file : files) {
    SCOPED_TRACE(file.filename().string());
    const auto document = jttk::openDocument(programPath(file));
    ASSERT_TRUE(document) << document.error().text();
    const SceneGraph& graph = (*document)->graph;
    EXPECT_TRUE(graph.damage.empty()) << graph.damage.front().error.text();
    const json expected = expectedOf(file);
    ASSERT_EQ(expected["nodes"].size(), graph.nodes.size());
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
      const json& wanted = expected["nodes"][i];
      const Node& node = graph.nodes[i];
      SCOPED_TRACE(node.id);
      EXPECT_EQ(wanted["id"], node.id);
      EXPECT_EQ(kindOf(wanted["kind"]), node.kind);
      EXPECT_EQ(wanted.value("flags", 0U), node.flags);
      EXPECT_EQ(wanted.value("label", ""), (*document)->label(static_cast<std::uint32_t>(i)));
      std::vector<int> children(graph.child_ids.begin() + node.children.first,
                                graph.child_ids.begin() + node.children.first + node.children.count);
      EXPECT_EQ(wanted.value("children", std::vector<int>()), children);
      compareAttributes(graph, (*document)->file->version(), node, wanted);
      compareFigures(graph, node, wanted);
      compareProperties(graph, node, wanted);
      ++nodes;
    }
  }
  RecordProperty("nodes", static_cast<int>(nodes));
}

// Triangle checksums by shape segment, of the file itself and of files that it refers to.
class Checksums {
 public:
  std::uint64_t of(const fs::path& file, const std::string& segment) {
    auto& sums = by_file_[file];
    if (sums.empty()) {
      const json expected = expectedOf(file);
      for (const json& lod : expected["lods"]) {
        sums[lod["segment"]] = std::stoull(lod["tri_checksum_nd"].get<std::string>(), nullptr, 16);
      }
    }
    return sums.at(segment);
  }

 private:
  std::map<fs::path, std::map<std::string, std::uint64_t>> by_file_;
};

void compareMatrix(const json& expected, const jttk::testing::Matrix16& found) {
  double scale = 1;
  for (const json& value : expected) scale = std::max(scale, std::abs(value.get<double>()));
  // Transforms of 9.5 and later are stored as doubles and handed out as floats.
  for (std::size_t i = 0; i < 16; ++i) EXPECT_NEAR(expected[i].get<double>(), found[i], 2e-6 * scale) << i;
}

// The world matrix, the colour in force and the triangles of every placed shape, in order. Names: the same,
// too: where the other decoder counts a group's name as a step of the path, the group is one with the
// nameless part below it, which inherits that name.
TEST(SampleFiles, PlacedShapesAreWhatAnotherDecoderFound) {
  const auto files = sampleFiles();
  if (files.empty()) GTEST_SKIP() << "no sample files in " << sampleFolder();
  for (const fs::path& file : files) {
    SCOPED_TRACE(file.filename().string());
    jttk::testing::Recorder recorder;
    JtkEntity* root = jttk::testing::import(programPath(file));
    ASSERT_NE(root, nullptr);
    const jttk::testing::Walked walked = jttk::testing::walk(root);
    root->unref();
    EXPECT_TRUE(recorder.losses.empty()) << recorder.losses.front();
    EXPECT_EQ(recorder.messages(), "");
    const json expected = expectedOf(file);
    const json& list = expected["placed"]["list"];
    EXPECT_EQ(expected["placed"]["parts"], walked.parts);
    ASSERT_EQ(list.size(), walked.shapes.size());
    Checksums checksums;
    for (std::size_t i = 0; i < list.size(); ++i) {
      SCOPED_TRACE(i);
      const json& wanted = list[i];
      const auto& found = walked.shapes[i];
      EXPECT_EQ(wanted["path"].get<std::vector<std::string>>(), found.path);
      compareMatrix(wanted["matrix"], found.world);
      ASSERT_EQ(wanted["rgba"].is_null(), !found.has_color);
      if (found.has_color) expectNumbers(wanted["rgba"], found.color, "colour");
      EXPECT_EQ(wanted["kind"], "tristrip");
      EXPECT_EQ(found.type, JtkEntity::JtkTRISTRIPSET);
      EXPECT_EQ(wanted["triangles_nd"], found.triangles_nd);
      const fs::path from = wanted.contains("file") ? sampleFolder() / wanted["file"] : file;
      EXPECT_EQ(checksums.of(from, wanted["segment"]), found.checksum_nd);
    }
  }
}

// How much of each limit a model takes at the most, with the file that does.
struct Shares {
  std::map<std::string, std::pair<double, std::string>> worst;
  void add(const std::string& limit, std::uint64_t taken, std::uint64_t allowed, const fs::path& file) {
    const double share = static_cast<double>(taken) / static_cast<double>(allowed);
    auto& known = worst[limit];
    if (share >= known.first) known = {share, file.filename().string()};
  }
};

// Real files stay far below the limits that small hostile ones hit.
TEST(Samples, TakeASmallPartOfEveryLimit) {
  if (sampleFiles().empty()) GTEST_SKIP() << "no samples in " << sampleFolder();
  Shares shares;
  const jttk::testing::ScopedSettings settings;
  for (const bool exact_geometry : {false, true}) {
    for (const fs::path& path : sampleFiles()) {
      settings->exact_geometry = exact_geometry;
      settings->max_memory_bytes.reset();
      // A fifth of the memory will do.
      settings->max_memory_bytes = jttk::workLimits().memory.of(fs::file_size(path)) / 5;
      const jttk::testing::Recorder recorder;
      JtkEntity* const root = jttk::testing::import(programPath(path));
      ASSERT_NE(root, nullptr) << path;
      jttk::testing::walk(root);
      jttk::WorkBudget& budget = dynamic_cast<jttk::ModelNode&>(*root).model().library().budget();
      shares.add("places", budget.places().taken(), budget.places().limit(), path);
      shares.add("contents", budget.contents().taken(), budget.contents().limit(), path);
      shares.add("unpacked", budget.unpackedBytes(), budget.unpackedLimit(), path);
      shares.add("exact", budget.exact().taken(), budget.exact().limit(), path);
      root->unref();
      for (const std::string& loss : recorder.losses) {
        EXPECT_EQ(loss.find("--max-"), std::string::npos) << path << ": " << loss;
      }
    }
  }
  for (const auto& [limit, worst] : shares.worst) {
    std::printf("%s: %.2f percent, %s\n", limit.c_str(), 100 * worst.first, worst.second.c_str());
    EXPECT_LT(worst.first, 0.2) << limit << ", " << worst.second;
  }
}

}  // namespace
