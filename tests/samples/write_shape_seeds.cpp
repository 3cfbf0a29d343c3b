// Writes seeds for the fuzz targets of shapes: WRITE_SHAPE_SEEDS CORPUS_FOLDER. One small shape of every kind
// in every version and codec, with all attributes, in both byte orders.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "samples/maker/measure.h"
#include "samples/maker/shape_lod.h"
#include "tests/samples/test_shapes.h"

namespace {

namespace fs = std::filesystem;
using namespace loftbay::maker;  // NOLINT: everything here is about the maker

// I32 length, GUID, U8 base type.
constexpr std::size_t kElementHeaderBytes = 21;
constexpr std::size_t kLargestSeedBytes = 2000;

struct NamedShape {
  const char* name;
  Shape shape;
};

Shape lines(ShapeKind kind) {
  Shape shape;
  shape.kind = kind;
  for (std::uint32_t i = 0; i < 9; ++i)
    shape.positions.push_back({float(i), float(i % 3), float(i % 5) * 0.5F});
  for (std::uint32_t line = 0; line < 3; ++line) {
    for (std::uint32_t i = 0; i <= 1 + line; ++i) shape.corner_positions.push_back((line * 4 + i * 2) % 9);
    shape.primitive_starts.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
  }
  return shape;
}

std::vector<NamedShape> namedShapes() {
  std::mt19937 random(23);
  std::vector<NamedShape> shapes = {{"grid", test::openGrid(2, 2)},
                                    {"prism", test::prism(6)},
                                    {"sheets", test::touchingSheets()},
                                    {"lines", lines(ShapeKind::Polylines)},
                                    {"points", lines(ShapeKind::Points)}};
  NamedShape full = {"full", test::tetrahedra(1)};
  test::scatterRecords(full.shape, random, true, true, true, true);
  shapes.push_back(full);
  for (const auto kind : {ShapeKind::Polylines, ShapeKind::Points}) {
    NamedShape colored = {kind == ShapeKind::Points ? "color_points" : "color_lines", lines(kind)};
    test::scatterRecords(colored.shape, random, false, true);
    shapes.push_back(colored);
  }
  return shapes;
}

bool write(const fs::path& file, std::uint32_t first, std::span<const std::uint8_t> bytes) {
  if (bytes.size() > kLargestSeedBytes) return true;  // too large for a seed
  fs::create_directories(file.parent_path());
  std::ofstream stream(file, std::ios::binary);
  stream.put(static_cast<char>(first));
  stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return stream.good();
}

// Meaning of the target's first byte: bits 1 and up the kind, bit 0 the byte order.
std::uint32_t first8(ShapeKind kind, bool big_endian) {
  const std::uint32_t kinds[] = {0, 2, 1, 3};  // triangles, polygons, polylines, points
  return kinds[static_cast<int>(kind)] << 1 | (big_endian ? 1U : 0U);
}

// Remainder by 3: 9.5, 10.0, 8.1; bit 7: big endian.
std::uint32_t firstAny(int major, bool big_endian) {
  const std::uint32_t version = major == 9 ? 0 : major == 10 ? 1 : 2;
  return big_endian ? 129 + version : version;  // 129 is divisible by 3
}

bool writeSeed(const fs::path& corpus, const NamedShape& named, const Options& wanted) {
  const Options options = wanted.effective();
  Shape shape = named.shape;
  if (options.major() == 8) shape.vertex_flags.clear();
  const Bytes bytes = shapeSegment(shape, options, 1);
  const std::string name = std::string("made_") + named.name + "_" + options.versionText() + "_" +
                           nameOf(options.codec) +
                           (options.coordinate_bits > 0 ? options.hsv_colors ? "_hsv" : "_lossy" : "") +
                           (options.big_endian ? "_big" : "");
  if (!write(corpus / "shape_lod_fuzz" / name, firstAny(options.major(), options.big_endian), bytes))
    return false;
  if (options.major() != 8) return true;
  return write(corpus / "shape_lod_v8_fuzz" / name, first8(shape.kind, options.big_endian),
               std::span(bytes).subspan(kElementHeaderBytes));
}

// Version and byte order as in firstAny, box and area, then the element's body.
bool writeSolids(const fs::path& corpus, const Options& wanted) {
  using Type = PrimitiveSolid::Type;
  const Options options = wanted.effective();
  const std::uint32_t version = options.major() == 9 ? 1 : options.major() == 10 ? 2 : 0;
  bool is_written = true;
  for (const Type type : {Type::Box, Type::Cylinder, Type::Pyramid, Type::Sphere, Type::TriPrism}) {
    Shape shape;
    shape.kind = ShapeKind::Solids;
    shape.solids = {{type, {1, 2, 3}, {4, 5, 6}, {0.5F, 0.5F, 0.5F, 0.5F}, {1, 0.5F, 0}}};
    if (type == Type::Sphere) shape.solids[0].size = {2, 0, 0};
    shape.solids.push_back(shape.solids[0]);
    shape.solids[1].place.x = 20;
    shape.colored_solids = type == Type::Box;
    const Figures figures = measure(shape);
    ByteWriter seed(options.big_endian);
    for (const Vec3& p : {figures.min, figures.max}) {
      for (const float value : {p.x, p.y, p.z}) seed.f32(value);
    }
    seed.f32(static_cast<float>(figures.area));
    const Bytes segment = shapeSegment(shape, options, 1);
    const std::uint32_t element = options.big_endian ? std::uint32_t{segment[2]} << 8 | segment[3]
                                                     : std::uint32_t{segment[1]} << 8 | segment[0];
    seed.append(std::span(segment).subspan(kElementHeaderBytes, element + 4 - kElementHeaderBytes));
    const std::string name = "solid" + std::to_string(static_cast<int>(type)) + "_" + options.versionText() +
                             (options.coordinate_bits > 0 ? "_lossy" : "") +
                             (options.big_endian ? "_big" : "");
    is_written = is_written && write(corpus / "primitive_set_fuzz" / name,
                                     version | (options.big_endian ? 0x80U : 0U), seed.bytes());
  }
  return is_written;
}

// The set is in the bytes themselves: one solid of every type.
bool writePlainSolids(const fs::path& corpus) {
  ByteWriter seed(false);
  for (const float value : {0.0F, 0.0F, 0.0F, 30.0F, 30.0F, 30.0F, 0.0F}) seed.f32(value);
  for (unsigned type = 0; type < 5; ++type) {
    seed.u8(type);
    for (const float value : {5.0F, 5.0F, 5.0F, 2.0F, 3.0F, 4.0F, 0.0F, 0.0F, 0.0F, 1.0F}) seed.f32(value);
  }
  return write(corpus / "primitive_set_fuzz" / "plain", 0x60, seed.bytes());
}

bool writeAll(const fs::path& corpus) {
  for (const auto version : {JtVersion::V8_1, JtVersion::V9_5, JtVersion::V10_0}) {
    for (const std::uint8_t bits : {std::uint8_t{0}, std::uint8_t{12}}) {
      Options options{.version = version, .coordinate_bits = bits, .color_bits = 4};
      options.hsv_colors = version == JtVersion::V9_5;
      options.codec = Codec::VariableBits;
      if (!writeSolids(corpus, options)) return false;
      options.big_endian = true;
      if (bits == 0 && !writeSolids(corpus, options)) return false;
    }
  }
  if (!writePlainSolids(corpus)) return false;

  for (const NamedShape& named : namedShapes()) {
    for (const auto version : {JtVersion::V8_1, JtVersion::V9_5, JtVersion::V10_0}) {
      for (const bool lossy : {false, true}) {
        Options options{.version = version};
        options.coordinate_bits = lossy ? 12 : 0;
        options.normal_bits = lossy ? 6 : 0;
        options.texture_bits = lossy ? 8 : 0;
        options.color_bits = lossy ? 4 : 0;
        options.hsv_colors = lossy && version != JtVersion::V9_5;
        options.codec = Codec::VariableBits;
        for (const bool big_endian : {false, true}) {
          if (big_endian && version == JtVersion::V10_0) continue;
          options.big_endian = big_endian;
          if (!writeSeed(corpus, named, options)) return false;
        }
      }
    }
  }
  // Every codec once per version, on the shape with all attributes and on one with splits and covers.
  for (const NamedShape& named : namedShapes()) {
    if (named.name != std::string("full") && named.name != std::string("sheets")) continue;
    for (const auto version : {JtVersion::V8_1, JtVersion::V9_5, JtVersion::V10_0}) {
      for (const auto codec : codecsOf(version)) {
        if (codec == Codec::Best || codec == Codec::VariableBits)
          continue;  // one of the others; the one above
        if (!writeSeed(corpus, named,
                       {.version = version,
                        .codec = codec,
                        .coordinate_bits = 10,
                        .normal_bits = 5,
                        .texture_bits = 6,
                        .color_bits = 3}))
          return false;
      }
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s CORPUS_FOLDER\n", argv[0]);
    return 2;
  }
  return writeAll(argv[1]) ? 0 : 1;
}
