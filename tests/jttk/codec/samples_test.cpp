// Every shape LOD of every sample file against what an independent decoder found in it. The files are not
// part of the project: without the folder the test is skipped.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "jttk/codec/shape_lod.h"
#include "jttk/file/jt_file.h"
#include "tests/jttk/support/shape_figures.h"
#include "tests/support/sample_folder.h"

namespace {

namespace fs = std::filesystem;
using jttk::PrimitiveKind;
using jttk::ShapeGeometry;
using jttk::testing::figuresOf;
using jttk::testing::hex;
using jttk::testing::ShapeFigures;
using loftbay::testing_support::sampleFolder;
using nlohmann::json;

bool kindFits(PrimitiveKind kind, int major, const std::string& expected) {
  if (expected == "tristrip") {
    return kind == (major < 9 ? PrimitiveKind::TriangleStrips : PrimitiveKind::Polygons);
  }
  if (expected == "polygon") return kind == PrimitiveKind::Polygons;
  if (expected == "polyline") return kind == PrimitiveKind::Polylines;
  if (expected == "pointset") return kind == PrimitiveKind::Points;
  return false;
}

std::uint64_t expectedBindings(const json& bindings) {
  if (bindings.is_number()) return bindings.get<std::uint64_t>();
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < bindings.size(); ++i) value |= bindings[i].get<std::uint64_t>() << (8 * i);
  return value;
}

void compareFacts(const ShapeGeometry& shape, const json& expected) {
  EXPECT_EQ(shape.facts.lossless ? "lossless" : "lossy", expected["coding"]);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(shape.facts.quantization_bits[i], expected["quantization"][i]) << i;
  }
  const std::uint64_t mask = expected["bindings"].is_number() ? ~std::uint64_t{0} : 0xffffffU;
  EXPECT_EQ(shape.facts.bindings & mask, expectedBindings(expected["bindings"]));
  EXPECT_EQ(shape.facts.topology_hash_checked ? "ok" : "none", expected["hash"]);
  if (expected.contains("components")) {
    EXPECT_EQ(shape.facts.components, expected["components"]);
  }
  if (expected.contains("covers")) {
    EXPECT_EQ(shape.facts.covers, expected["covers"]);
  }
  EXPECT_EQ(shape.primitiveCount(), expected["primitives"]);
  EXPECT_EQ(shape.corner_positions.size(), expected["corners"]);
  EXPECT_EQ(shape.positions.size(), 3 * expected["vertices"].get<std::size_t>());
  EXPECT_EQ(shape.normals.size(), 3 * expected["normals"].get<std::size_t>());
  EXPECT_EQ(shape.colors.size(), 4 * expected["colors"].get<std::size_t>());
  EXPECT_EQ(shape.texture_coordinates.size(), 3 * expected["texcoords"].get<std::size_t>());
  EXPECT_EQ(shape.vertex_flags.size(), expected.value("vertex_flags", std::size_t{0}));
}

void compareVector(const jttk::testing::Vector& found, const json& expected,
                   const jttk::testing::Vector& tolerance) {
  EXPECT_NEAR(found.x, expected[0].get<double>(), tolerance.x);
  EXPECT_NEAR(found.y, expected[1].get<double>(), tolerance.y);
  EXPECT_NEAR(found.z, expected[2].get<double>(), tolerance.z);
}

void compareFigures(const ShapeFigures& figures, const json& expected) {
  EXPECT_EQ(figures.triangles, expected["triangles"]);
  EXPECT_EQ(figures.triangles_nd, expected["triangles_nd"]);
  EXPECT_EQ(hex(figures.checksum), expected["tri_checksum"]);
  EXPECT_EQ(hex(figures.checksum_nd), expected["tri_checksum_nd"]);
  EXPECT_EQ(figures.line_segments, expected["line_segments"]);
  EXPECT_EQ(figures.points, expected["points"]);
  if (expected.contains("max_polygon")) {
    EXPECT_EQ(figures.max_polygon, expected["max_polygon"]);
  }
  for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(figures.box[i], expected["bbox"][i].get<double>()) << i;
  constexpr double kRelative = 1e-9;
  EXPECT_NEAR(figures.area, expected["area"].get<double>(), kRelative * figures.area);
  EXPECT_NEAR(figures.volume6, expected["volume6"].get<double>(), kRelative * figures.volume6_magnitude);
  const auto& magnitude = figures.moment_magnitude;
  compareVector(figures.moment, expected["moment"],
                {kRelative * magnitude.x, kRelative * magnitude.y, kRelative * magnitude.z});
  const double corners = 1e-6 * 3 * static_cast<double>(figures.triangles_nd);
  compareVector(figures.normal_sum, expected["normal_sum"], {corners, corners, corners});
  // Corners whose normal lies in the plane of the facet can fall on either side.
  constexpr double kFewCorners = 4;
  EXPECT_NEAR(static_cast<double>(figures.normals_agree), expected["normals_agree"].get<double>(),
              kFewCorners);
  EXPECT_NEAR(static_cast<double>(figures.normals_against), expected["normals_against"].get<double>(),
              kFewCorners);
}

std::vector<std::byte> readBytes(const fs::path& path) {
  std::ifstream stream(path, std::ios::binary);
  const std::vector<char> text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  std::vector<std::byte> bytes(text.size());
  if (!text.empty()) std::memcpy(bytes.data(), text.data(), text.size());
  return bytes;
}

bool isShape(jttk::SegmentType type) {
  return type >= jttk::SegmentType::Shape && type <= jttk::SegmentType::ShapeLod9;
}

// Compares all shape LODs of one file; returns how many there were.
std::size_t compareShapes(const jttk::JtFile& file, const json& expected) {
  std::map<std::string, json> by_segment;
  for (const json& lod : expected["lods"]) by_segment[lod["segment"]] = lod;
  std::size_t shapes = 0;
  for (const jttk::TocEntry& entry : file.contents()) {
    if (!isShape(entry.type)) continue;
    SCOPED_TRACE(entry.id.text());
    ++shapes;
    const auto lod = by_segment.find(entry.id.text());
    if (lod == by_segment.end()) {
      ADD_FAILURE() << "is not in the expected figures";
      continue;
    }
    const auto segment = file.segment(entry);
    if (!segment) {
      ADD_FAILURE() << segment.error().text();
      continue;
    }
    const auto shape = jttk::decodeShapeLod(*segment, file.version(), file.byteOrder(), {{}, nullptr, true});
    if (!shape) {
      ADD_FAILURE() << shape.error().text();
      continue;
    }
    EXPECT_TRUE(kindFits(shape->kind, file.version().major, lod->second["kind"]));
    compareFacts(*shape, lod->second);
    compareFigures(figuresOf(*shape), lod->second);
  }
  EXPECT_EQ(shapes, by_segment.size());
  return shapes;
}

void compareContents(const jttk::JtFile& file, const json& expected) {
  const std::string version =
      std::to_string(file.version().major) + "." + std::to_string(file.version().minor);
  EXPECT_EQ(version, expected["version"]);
  EXPECT_EQ(file.byteOrder() == jttk::ByteOrder::Little ? "little" : "big", expected["byte_order"]);
  EXPECT_EQ(file.duplicateEntries(), expected.value("duplicate_toc_entries", std::size_t{0}));
  EXPECT_NE(file.find(file.sceneGraphId()), nullptr);
  std::map<std::string, int> methods;
  for (const jttk::TocEntry& entry : file.contents()) {
    const auto segment = file.segment(entry);
    if (!segment) {
      ADD_FAILURE() << segment.error().text();
      continue;
    }
    static const char* const kNames[] = {"none", "stored", "zlib", "lzma"};
    ++methods[kNames[static_cast<std::size_t>(segment->compression)]];
  }
  EXPECT_EQ(json(methods), expected["compression"]);
}

TEST(Samples, EveryShapeLodIsWhatAnIndependentDecoderFound) {
  const fs::path folder = sampleFolder();
  if (!fs::is_directory(folder / "expected")) GTEST_SKIP() << "no JT sample files at " << folder;
  std::size_t files = 0;
  std::size_t shapes = 0;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.path().extension() != ".jt") continue;
    SCOPED_TRACE(entry.path().filename().string());
    fs::path figures = folder / "expected" / fs::relative(entry.path(), folder);
    std::ifstream stream(figures.replace_extension(".json"));
    const json expected = json::parse(stream, nullptr, false);
    ASSERT_FALSE(expected.is_discarded()) << figures;
    const std::vector<std::byte> bytes = readBytes(entry.path());
    const auto file = jttk::JtFile::fromBytes(bytes);
    ASSERT_TRUE(file.has_value()) << file.error().text();
    compareContents(**file, expected);
    shapes += compareShapes(**file, expected);
    ++files;
  }
  EXPECT_GT(shapes, 0U);
  std::printf("%zu shape LODs of %zu files compared\n", shapes, files);
}

}  // namespace
