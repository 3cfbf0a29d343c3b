// Writes the seeds of the fuzz targets for JT 8.x: WRITE_SEEDS CORPUS_FOLDER (which has a folder per target).
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "samples/maker/entropy.h"
#include "samples/maker/pieces/shapes_v8.h"

namespace {

using namespace loftbay::maker::pieces;  // NOLINT: everything here is about these writers

bool write(const std::filesystem::path& file, std::uint32_t first, const ByteBuilder& bytes) {
  ByteBuilder whole;
  whole.u8(first).bytes(bytes);
  std::ofstream stream(file, std::ios::binary);
  stream.write(reinterpret_cast<const char*>(whole.view().data()),
               static_cast<std::streamsize>(whole.size()));
  return stream.good();
}

bool writePackets(const std::filesystem::path& folder) {
  const std::vector<std::vector<Entry>> one = {{{0, 1, 10}, {kEscape, 1, 0}, {2, 1, 30}, {3, 1, -40}}};
  const std::vector<std::vector<Entry>> two = {{{0, 1, 7, 0}, {1, 1, 9, 1}},
                                               {{1, 1, 0, 1}, {kEscape, 2, 0, 0}, {0, 1, 0, 0}}};
  return write(folder / "null", 0, nullPacket(Values{1, -2, 3})) &&
         write(folder / "null_big_endian", 1, nullPacket(Values{1, -2, 3}, ByteOrder::Big)) &&
         write(folder / "bit_length", 0,
               bitLengthPacket(BitBuilder("0 110 01 0 10 1110 011111 101 1000 1001 1111110 10000000"), 7)) &&
         write(folder / "huffman", 0,
               symbolPacket(2, one, Values{123456, -654321}, BitBuilder("11 10 01 00 10 11"), 6)) &&
         write(folder / "arithmetic", 0,
               symbolPacket(3, one, Values{123456}, BitBuilder("00 01 10 11"), 4)) &&
         write(folder / "arithmetic_two_tables", 0,
               symbolPacket(3, two, Values{}, BitBuilder("0 1 00 10 11 0"), 6, 7));
}

bool writeShapes(const std::filesystem::path& folder) {
  LossyShape full = quad();
  full.texture_binding = 1;
  full.texture_ranges = {{0, 1, 1}, {0, 3, 2}};
  full.texture = {{0, 1, 0, 1}, {0, 1, 2, 3}};
  full.color_binding = 3;
  full.hsv = true;
  full.color_ranges = {{0, 0, 2}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
  full.colors = {{2}, {1}, {1}, {1}};
  LossyShape facets = quad();
  facets.normal_binding = 2;
  facets.normals = {{5, 1}, {3, 7}, {127, 127}, {0, 0}};
  LossyShape points = quad();
  points.normal_binding = 0;
  points.starts = {};
  ByteBuilder lossless = shapeHeader(0, 0, 0, 0, {0, 3}, ByteOrder::Little);
  lossless.i32(36).i32(-36);
  for (int i = 0; i < 9; ++i) lossless.f32(static_cast<float>(i));
  return write(folder / "strip", 0, lossyBody(quad())) &&
         write(folder / "strip_big_endian", 1, lossyBody(quad(), ByteOrder::Big)) &&
         write(folder / "strip_all_attributes", 0, lossyBody(full)) &&
         write(folder / "strip_facet_normals", 0, lossyBody(facets)) &&
         write(folder / "strip_lossless", 0, lossless) && write(folder / "polyline", 2, lossyBody(quad())) &&
         write(folder / "polygon", 4, lossyBody(quad())) && write(folder / "points", 6, lossyBody(points));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s CORPUS_FOLDER\n", argv[0]);
    return 2;
  }
  const std::filesystem::path corpus = argv[1];
  const auto packets = corpus / "packet_v8_fuzz";
  const auto shapes = corpus / "shape_lod_v8_fuzz";
  std::filesystem::create_directories(packets);
  std::filesystem::create_directories(shapes);
  return writePackets(packets) && writeShapes(shapes) ? 0 : 1;
}
