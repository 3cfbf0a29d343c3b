// Every shape LOD of the JT 8.x sample files against what an independent decoder found in them. The files are
// not part of the project: without the folder the test is skipped.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "jttk/codec/shape_lod_8.h"
#include "jttk/file/jt_file.h"

namespace {

namespace fs = std::filesystem;
using jttk::PrimitiveKind;
using jttk::ShapeGeometry;
using nlohmann::json;
using Position = std::array<float, 3>;

fs::path samplesFolder() {
  if (const char* folder = std::getenv("LOFTBAY_JT_SAMPLES")) return folder;
  const char* source = std::getenv("LOFTBAY_SOURCE_DIR");
  return fs::path(source != nullptr ? source : ".") / ".." / "shared" / "jt-samples";
}

// The 12 bytes that stand for a position in checksums: little-endian floats, no minus zero.
std::array<std::uint8_t, 12> positionBytes(const Position& position) {
  std::array<std::uint8_t, 12> bytes{};
  for (std::size_t i = 0; i < 3; ++i) {
    const auto bits = std::bit_cast<std::uint32_t>(position[i] == 0.0F ? 0.0F : position[i]);
    for (std::size_t k = 0; k < 4; ++k) bytes[i * 4 + k] = static_cast<std::uint8_t>(bits >> (8 * k));
  }
  return bytes;
}

std::uint64_t triangleChecksum(const std::array<Position, 3>& triangle) {
  std::array<std::uint8_t, 36> least{};
  for (std::size_t start = 0; start < 3; ++start) {
    std::array<std::uint8_t, 36> rotation{};
    for (std::size_t i = 0; i < 3; ++i) {
      const auto bytes = positionBytes(triangle[(start + i) % 3]);
      std::copy(bytes.begin(), bytes.end(), rotation.begin() + static_cast<std::ptrdiff_t>(i * 12));
    }
    if (start == 0 || rotation < least) least = rotation;
  }
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const std::uint8_t byte : least) hash = (hash ^ byte) * 0x100000001b3U;
  return hash;
}

std::string hex(std::uint64_t value) {
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value));
  return text;
}

struct Vector {
  double x = 0, y = 0, z = 0;
};
Vector operator-(const Vector& a, const Vector& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Vector cross(const Vector& a, const Vector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double dot(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
double length(const Vector& a) { return std::sqrt(dot(a, a)); }
Vector vectorOf(const float* values) { return {values[0], values[1], values[2]}; }

struct Figures {
  std::size_t triangles = 0;
  std::size_t triangles_nd = 0;
  std::uint64_t checksum = 0;
  std::uint64_t checksum_nd = 0;
  std::array<double, 6> box{};
  double area = 0;
  double volume6 = 0;
  double volume6_magnitude = 0;
  Vector normal_sum;
  std::size_t normals_agree = 0;
  std::size_t normals_against = 0;
};

Position positionOf(const ShapeGeometry& shape, std::size_t corner) {
  const float* p = &shape.positions[std::size_t{shape.corner_positions[corner]} * 3];
  return {p[0], p[1], p[2]};
}

void addTriangle(const ShapeGeometry& shape, const std::array<std::size_t, 3>& corners, Figures& figures) {
  const std::array<Position, 3> points = {positionOf(shape, corners[0]), positionOf(shape, corners[1]),
                                          positionOf(shape, corners[2])};
  const std::uint64_t checksum = triangleChecksum(points);
  ++figures.triangles;
  figures.checksum += checksum;
  if (points[0] == points[1] || points[1] == points[2] || points[0] == points[2]) return;
  ++figures.triangles_nd;
  figures.checksum_nd += checksum;
  const Vector a = vectorOf(points[0].data());
  const Vector b = vectorOf(points[1].data());
  const Vector c = vectorOf(points[2].data());
  const Vector face = cross(b - a, c - a);
  figures.area += length(face) / 2;
  figures.volume6 += dot(a, cross(b, c));
  figures.volume6_magnitude += std::abs(dot(a, cross(b, c)));
  if (shape.normals.empty()) return;
  for (const std::size_t corner : corners) {
    const Vector normal = vectorOf(&shape.normals[std::size_t{shape.corner_records[corner]} * 3]);
    const double size = length(normal);
    if (size == 0) continue;
    figures.normal_sum.x += normal.x / size;
    figures.normal_sum.y += normal.y / size;
    figures.normal_sum.z += normal.z / size;
    if (dot(normal, face) > 0) ++figures.normals_agree;
    if (dot(normal, face) < 0) ++figures.normals_against;
  }
}

Figures figuresOf(const ShapeGeometry& shape) {
  Figures figures;
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  figures.box = {kInfinite, kInfinite, kInfinite, -kInfinite, -kInfinite, -kInfinite};
  for (std::size_t corner = 0; corner < shape.corner_positions.size(); ++corner) {
    const Position p = positionOf(shape, corner);
    for (std::size_t i = 0; i < 3; ++i) {
      figures.box[i] = std::min(figures.box[i], double{p[i]});
      figures.box[i + 3] = std::max(figures.box[i + 3], double{p[i]});
    }
  }
  for (std::size_t strip = 0; strip < shape.primitiveCount(); ++strip) {
    const std::size_t first = shape.primitive_starts[strip];
    for (std::size_t k = first; k + 2 < shape.primitive_starts[strip + 1]; ++k) {
      const bool odd = (k - first) % 2 != 0;
      addTriangle(shape, odd ? std::array{k + 1, k, k + 2} : std::array{k, k + 1, k + 2}, figures);
    }
  }
  return figures;
}

const char* kindName(PrimitiveKind kind) {
  switch (kind) {
    case PrimitiveKind::TriangleStrips:
      return "tristrip";
    case PrimitiveKind::Polygons:
      return "polygon";
    case PrimitiveKind::Polylines:
      return "polyline";
    case PrimitiveKind::Points:
      return "pointset";
    case PrimitiveKind::Empty:
      return "nullshape";
  }
  return "";
}

void compareGeometry(const ShapeGeometry& shape, const json& expected) {
  EXPECT_EQ(kindName(shape.kind), expected["kind"]);
  EXPECT_EQ(shape.facts.lossless ? "lossless" : "lossy", expected["coding"]);
  for (std::size_t i = 0; i < 4; ++i)
    EXPECT_EQ(shape.facts.quantization_bits[i], expected["quantization"][i]);
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_EQ((shape.facts.bindings >> (8 * i)) & 0xffU, expected["bindings"][i]);
  EXPECT_EQ(shape.primitiveCount(), expected["primitives"]);
  EXPECT_EQ(shape.corner_positions.size(), expected["corners"]);
  EXPECT_EQ(shape.positions.size(), 3 * expected["vertices"].get<std::size_t>());
  EXPECT_EQ(shape.normals.size(), 3 * expected["normals"].get<std::size_t>());
  EXPECT_EQ(shape.colors.size(), 4 * expected["colors"].get<std::size_t>());
  EXPECT_EQ(shape.texture_coordinates.size(), 3 * expected["texcoords"].get<std::size_t>());
  ASSERT_TRUE(shape.corner_records.empty() || shape.corner_records.size() == shape.corner_positions.size());

  const Figures figures = figuresOf(shape);
  EXPECT_EQ(figures.triangles, expected["triangles"]);
  EXPECT_EQ(figures.triangles_nd, expected["triangles_nd"]);
  EXPECT_EQ(hex(figures.checksum), expected["tri_checksum"]);
  EXPECT_EQ(hex(figures.checksum_nd), expected["tri_checksum_nd"]);
  for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(figures.box[i], expected["bbox"][i].get<double>());
  EXPECT_NEAR(figures.area, expected["area"].get<double>(), 1e-9 * figures.area);
  EXPECT_NEAR(figures.volume6, expected["volume6"].get<double>(), 1e-9 * figures.volume6_magnitude);
  const double tolerance = 1e-6 * 3 * static_cast<double>(figures.triangles_nd);
  EXPECT_NEAR(figures.normal_sum.x, expected["normal_sum"][0].get<double>(), tolerance);
  EXPECT_NEAR(figures.normal_sum.y, expected["normal_sum"][1].get<double>(), tolerance);
  EXPECT_NEAR(figures.normal_sum.z, expected["normal_sum"][2].get<double>(), tolerance);
  constexpr double kFewCorners = 4;
  EXPECT_NEAR(static_cast<double>(figures.normals_agree), expected["normals_agree"].get<double>(),
              kFewCorners);
  EXPECT_NEAR(static_cast<double>(figures.normals_against), expected["normals_against"].get<double>(),
              kFewCorners);
}

// The one element of a shape segment: I32 length, GUID, U8 base type, body.
jttk::Result<ShapeGeometry> decodeSegment(const jttk::Segment& segment, jttk::ByteOrder order) {
  jttk::ByteReader in(segment.data, order, segment.base_offset);
  const std::uint32_t size = in.count("element length", 1);
  jttk::ByteReader element = in.sub(size, "element");
  const jttk::Guid kind = element.guid("element type");
  element.skip(1, "base type");
  if (!in.ok()) return in.unexpected();
  if (!element.ok()) return element.unexpected();
  return jttk::decodeShapeLod8(element, kind);
}

// Compares all LODs of one file; returns how many there were.
std::size_t compareFile(const fs::path& path, const json& expected) {
  std::ifstream stream(path, std::ios::binary);
  const std::vector<char> text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  std::vector<std::byte> bytes(text.size());
  if (!text.empty()) std::memcpy(bytes.data(), text.data(), text.size());
  const auto file = jttk::JtFile::fromBytes(bytes);
  EXPECT_TRUE(file.has_value()) << file.error().text();
  if (!file) return 0;
  std::set<std::string> seen;
  for (const json& lod : expected["lods"]) {
    const std::string id = lod["segment"];
    SCOPED_TRACE(id);
    seen.insert(id);
    const auto entry =
        std::find_if((*file)->contents().begin(), (*file)->contents().end(),
                     [&](const jttk::TocEntry& candidate) { return candidate.id.text() == id; });
    if (entry == (*file)->contents().end()) {
      ADD_FAILURE() << "no such segment";
      continue;
    }
    const auto segment = (*file)->segment(*entry);
    if (!segment) {
      ADD_FAILURE() << segment.error().text();
      continue;
    }
    const auto shape = decodeSegment(*segment, (*file)->byteOrder());
    if (!shape) {
      ADD_FAILURE() << shape.error().text();
      continue;
    }
    compareGeometry(*shape, lod);
  }
  for (const jttk::TocEntry& entry : (*file)->contents()) {
    const bool is_shape =
        entry.type >= jttk::SegmentType::Shape && entry.type <= jttk::SegmentType::ShapeLod9;
    EXPECT_TRUE(!is_shape || seen.contains(entry.id.text()))
        << entry.id.text() << " is not in the expected figures";
  }
  return seen.size();
}

TEST(ShapeLod8Samples, everyShapeIsWhatAnIndependentDecoderFound) {
  const fs::path folder = samplesFolder();
  if (!fs::is_directory(folder / "expected")) GTEST_SKIP() << "no JT sample files at " << folder;
  std::size_t files = 0;
  std::size_t lods = 0;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.path().extension() != ".jt") continue;
    fs::path figures = folder / "expected" / fs::relative(entry.path(), folder);
    std::ifstream stream(figures.replace_extension(".json"));
    const json expected = json::parse(stream, nullptr, false);
    ASSERT_FALSE(expected.is_discarded()) << figures;
    if (!expected["version"].get<std::string>().starts_with("8.")) continue;
    SCOPED_TRACE(entry.path().filename().string());
    lods += compareFile(entry.path(), expected);
    ++files;
  }
  EXPECT_GT(lods, 0U);
  std::printf("%zu shape LODs of %zu files compared\n", lods, files);
}

}  // namespace
