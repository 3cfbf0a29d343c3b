// Writes seeds for the fuzz targets of shapes: WRITE_SHAPE_SEEDS CORPUS_FOLDER. One small shape of every kind
// in every version and codec, with all attributes, in both byte orders.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

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
  std::ofstream stream(file, std::ios::binary);
  stream.put(static_cast<char>(first));
  stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return stream.good();
}

// What the target's first byte says: bits 1 and up the kind, bit 0 the byte order.
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
                           std::to_string(static_cast<int>(options.codec)) +
                           (options.coordinate_bits > 0 ? options.hsv_colors ? "_hsv" : "_lossy" : "") +
                           (options.big_endian ? "_big" : "");
  if (!write(corpus / "shape_lod_fuzz" / name, firstAny(options.major(), options.big_endian), bytes))
    return false;
  if (options.major() != 8) return true;
  return write(corpus / "shape_lod_8_fuzz" / name, first8(shape.kind, options.big_endian),
               std::span(bytes).subspan(kElementHeaderBytes));
}

bool writeAll(const fs::path& corpus) {
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
      for (const auto codec : {Codec::Null, Codec::FixedBits, Codec::Arithmetic, Codec::ArithmeticTwoContexts,
                               Codec::Chopper, Codec::MoveToFront, Codec::Huffman}) {
        const bool first_only = codec == Codec::ArithmeticTwoContexts || codec == Codec::Huffman;
        if (first_only != (version == JtVersion::V8_1) && (first_only || codec > Codec::Arithmetic)) continue;
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
