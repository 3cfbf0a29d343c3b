// Whole shape elements of lines and points, put down byte by byte from the layouts: nothing of the project
// wrote them, so maker and reader cannot share a mistake here.
#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "jttk/codec/shape_lod.h"
#include "tests/jttk/support/jt_bytes.h"

namespace {

using jttk::ByteOrder;
using jttk::PrimitiveKind;
using jttk::ShapeGeometry;
using jttk::Version;
using jttk::testing::Bytes;
using ::testing::ElementsAre;

using Point = std::array<float, 3>;
using Line = std::vector<Point>;

Bytes hex(std::initializer_list<std::string_view> lines) {
  Bytes bytes;
  for (const std::string_view line : lines) {
    for (std::size_t i = 0; i + 1 < line.size(); i += 3) {
      bytes.push_back(static_cast<std::byte>(std::stoi(std::string(line.substr(i, 2)), nullptr, 16)));
    }
  }
  return bytes;
}

ShapeGeometry decoded(const Bytes& data, Version version, ByteOrder order = ByteOrder::Little) {
  jttk::Segment segment;
  segment.type = jttk::SegmentType::ShapeLod0;
  segment.data = data;
  auto shape = jttk::decodeShapeLod(segment, version, order);
  EXPECT_TRUE(shape.has_value()) << shape.error().text();
  return shape ? std::move(*shape) : ShapeGeometry{};
}

Point at(const std::vector<float>& values, std::uint32_t index) {
  return {values.at(3 * index), values.at(3 * index + 1), values.at(3 * index + 2)};
}

std::vector<Line> linesOf(const ShapeGeometry& shape) {
  std::vector<Line> lines;
  for (std::size_t i = 0; i < shape.primitiveCount(); ++i) {
    Line& line = lines.emplace_back();
    for (std::uint32_t c = shape.primitive_starts[i]; c < shape.primitive_starts[i + 1]; ++c) {
      line.push_back(at(shape.positions, shape.corner_positions[c]));
    }
  }
  return lines;
}

const std::vector<Line> kTwoLines = {{{1, 2, 0}, {3, 2, 0}, {3, 4, 0}},
                                     {{1, 4, -1}, {0.5F, -2, 7}, {1, 2, 0}}};
const std::vector<Line> kThreePoints = {{{0, 16, -10}, {7, 5, -10}, {255, 32, -10}}};

TEST(LinesAndPointsFromBytes, polylinesOf95WithoutLoss) {
  const Bytes data = hex({
      "5f 01 00 00",                                      // element length
      "a1 10 dd 10 c8 2a d1 11 9b 6b 00 80 c7 bb 59 97",  // polyline set
      "04",                                               // base type
      "07 00 00 00",                                      // object id
      "01 00",                                            // version
      "01 00",                                            // version
      "02 00 00 00 00 00 00 00",                          // bindings: coordinates with three components
      "02 00",                                            // version
      "08 00 00 00",                                      // vertex records id
      "02 00",                                            // version
      "01 00 00 00",                                      // groups
      "02 00 00 00",                                      // primitives
      "06 00 00 00",                                      // entries of the vertex list
      "02 00 00 00",                                      // group list: 2 values
      "01",                                               //   bit length
      "15 00 00 00",                                      //   21 bits: fixed width, 0 to 2
      "00 10 19 02",                                      //   0 2
      "03 00 00 00",                                      // primitive list: 3 values
      "01",                                               //   bit length
      "1b 00 00 00",                                      //   27 bits: fixed width, 0 to 6
      "c0 83 21 02",                                      //   0 3 6
      "06 00 00 00",                                      // vertex list: 6 values
      "01",                                               //   bit length
      "24 00 00 00",                                      //   36 bits: fixed width, 0 to 4
      "4e 01 21 02 00 00 00 00",                          //   0 1 2 3 4 0
      "f6 29 9e 98",                                      // hash of the three lists
      "02 00 00 00 00 00 00 00",                          // bindings
      "00 00 00 00",                                      // quantisation: none
      "05 00 00 00",                                      // records
      "05 00 00 00",                                      // unique coordinates
      "05 00 00 00",                                      // run lengths: 5 values
      "01",                                               //   bit length
      "11 00 00 00",                                      //   17 bits: fixed width, 1 to 1
      "00 80 12 04",                                      //   1 1 1 1 1
      "2b 99 52 89",                                      // hash of the run lengths
      "05 00 00 00",                                      // coordinates
      "03",                                               // three components
      "00 00 00 00",                                      // quantiser of x: not used
      "00 00 00 00",
      "00",           // 0 bits: lossless
      "00 00 00 00",  // quantiser of y: not used
      "00 00 00 00",
      "00",           // 0 bits: lossless
      "00 00 00 00",  // quantiser of z: not used
      "00 00 00 00",
      "00",                       // 0 bits: lossless
      "05 00 00 00",              // exponents of x: 5 values
      "01",                       //   bit length
      "3f 00 00 00",              //   63 bits: fixed width, -1 to 128
      "01 01 4d 02 00 00 03 03",  //   127 128 128 127 -1
      "05 00 00 00",              // mantissae of x: 5 values
      "01",                       //   bit length
      "cd 00 00 00",              //   205 bits: fixed width, -8388608 to 125829120
      "00 00 e4 30 00 00 c0 03 00 00 00 40 06 00 00 60 00 04 00 00 00 00 00 00 00 00 00 00",  //   125829120
                                                                                              //   4194304
                                                                                              //   4194304
                                                                                              //   125829120
                                                                                              //   -8388608
      "05 00 00 00",                          // exponents of y: 5 values
      "01",                                   //   bit length
      "42 00 00 00",                          //   66 bits: fixed width, 128 to 255
      "fe 01 4a 12 3f 10 00 00 00 00 00 c0",  //   128 128 129 129 255
      "05 00 00 00",                          // mantissae of y: 5 values
      "01",                                   //   bit length
      "bb 00 00 00",                          //   187 bits: fixed width, -8388608 to 8388608
      "00 00 cc 30 01 00 00 02 80 00 00 00 00 80 00 00 00 00 40 00 00 00 00 00",  //   0 0 8388608 8388608
                                                                                  //   -8388608
      "05 00 00 00",                                                              // exponents of z: 5 values
      "01",                                                                       //   bit length
      "52 00 00 00",                          //   82 bits: fixed width, -254 to 383
      "7f 09 54 12 fa e3 8f 3f 00 00 00 7d",  //   0 0 0 383 -254
      "05 00 00 00",                          // mantissae of z: 5 values
      "01",                                   //   bit length
      "d1 00 00 00",                          //   209 bits: fixed width, -111149056 to 125829120
      "00 b0 e4 38 00 00 3c 00 00 00 50 03 03 00 00 35 71 00 00 50 00 00 00 00 00 00 00 00",  //   0 0 0
                                                                                              //   125829120
                                                                                              //   -111149056
      "78 56 34 12",              // hash: what it covers is not known
      "01 00",                    // tail: version
      "02 00 00 00 00 00 00 00",  // bindings again
      "01 00",                    // version
  });
  const ShapeGeometry shape = decoded(data, {9, 5});
  EXPECT_EQ(shape.kind, PrimitiveKind::Polylines);
  EXPECT_EQ(linesOf(shape), kTwoLines);
  EXPECT_TRUE(shape.corner_records.empty());
}

TEST(LinesAndPointsFromBytes, polylinesOf95BigEndian) {
  const Bytes data = hex({
      "00 00 01 5f",                                      // element length
      "10 dd 10 a1 2a c8 11 d1 9b 6b 00 80 c7 bb 59 97",  // polyline set
      "04",                                               // base type
      "00 00 00 07",                                      // object id
      "00 01",                                            // version
      "00 01",                                            // version
      "00 00 00 00 00 00 00 02",                          // bindings: coordinates with three components
      "00 02",                                            // version
      "00 00 00 08",                                      // vertex records id
      "00 02",                                            // version
      "00 00 00 01",                                      // groups
      "00 00 00 02",                                      // primitives
      "00 00 00 06",                                      // entries of the vertex list
      "00 00 00 02",                                      // group list: 2 values
      "01",                                               //   bit length
      "00 00 00 15",                                      //   21 bits: fixed width, 0 to 2
      "02 19 10 00",                                      //   0 2
      "00 00 00 03",                                      // primitive list: 3 values
      "01",                                               //   bit length
      "00 00 00 1b",                                      //   27 bits: fixed width, 0 to 6
      "02 21 83 c0",                                      //   0 3 6
      "00 00 00 06",                                      // vertex list: 6 values
      "01",                                               //   bit length
      "00 00 00 24",                                      //   36 bits: fixed width, 0 to 4
      "02 21 01 4e 00 00 00 00",                          //   0 1 2 3 4 0
      "98 9e 29 f6",                                      // hash of the three lists
      "00 00 00 00 00 00 00 02",                          // bindings
      "00 00 00 00",                                      // quantisation: none
      "00 00 00 05",                                      // records
      "00 00 00 05",                                      // unique coordinates
      "00 00 00 05",                                      // run lengths: 5 values
      "01",                                               //   bit length
      "00 00 00 11",                                      //   17 bits: fixed width, 1 to 1
      "04 12 80 00",                                      //   1 1 1 1 1
      "89 52 99 2b",                                      // hash of the run lengths
      "00 00 00 05",                                      // coordinates
      "03",                                               // three components
      "00 00 00 00",                                      // quantiser of x: not used
      "00 00 00 00",
      "00",           // 0 bits: lossless
      "00 00 00 00",  // quantiser of y: not used
      "00 00 00 00",
      "00",           // 0 bits: lossless
      "00 00 00 00",  // quantiser of z: not used
      "00 00 00 00",
      "00",                       // 0 bits: lossless
      "00 00 00 05",              // exponents of x: 5 values
      "01",                       //   bit length
      "00 00 00 3f",              //   63 bits: fixed width, -1 to 128
      "02 4d 01 01 03 03 00 00",  //   127 128 128 127 -1
      "00 00 00 05",              // mantissae of x: 5 values
      "01",                       //   bit length
      "00 00 00 cd",              //   205 bits: fixed width, -8388608 to 125829120
      "30 e4 00 00 03 c0 00 00 40 00 00 00 60 00 00 06 00 00 04 00 00 00 00 00 00 00 00 00",  //   125829120
                                                                                              //   4194304
                                                                                              //   4194304
                                                                                              //   125829120
                                                                                              //   -8388608
      "00 00 00 05",                          // exponents of y: 5 values
      "01",                                   //   bit length
      "00 00 00 42",                          //   66 bits: fixed width, 128 to 255
      "12 4a 01 fe 00 00 10 3f c0 00 00 00",  //   128 128 129 129 255
      "00 00 00 05",                          // mantissae of y: 5 values
      "01",                                   //   bit length
      "00 00 00 bb",                          //   187 bits: fixed width, -8388608 to 8388608
      "30 cc 00 00 02 00 00 01 00 00 00 80 00 00 80 00 00 40 00 00 00 00 00 00",  //   0 0 8388608 8388608
                                                                                  //   -8388608
      "00 00 00 05",                                                              // exponents of z: 5 values
      "01",                                                                       //   bit length
      "00 00 00 52",                          //   82 bits: fixed width, -254 to 383
      "12 54 09 7f 3f 8f e3 fa 7d 00 00 00",  //   0 0 0 383 -254
      "00 00 00 05",                          // mantissae of z: 5 values
      "01",                                   //   bit length
      "00 00 00 d1",                          //   209 bits: fixed width, -111149056 to 125829120
      "38 e4 b0 00 00 3c 00 00 03 50 00 00 35 00 00 03 50 00 00 71 00 00 00 00 00 00 00 00",  //   0 0 0
                                                                                              //   125829120
                                                                                              //   -111149056
      "12 34 56 78",              // hash: what it covers is not known
      "00 01",                    // tail: version
      "00 00 00 00 00 00 00 02",  // bindings again
      "00 01",                    // version
  });
  const ShapeGeometry shape = decoded(data, {9, 5}, ByteOrder::Big);
  EXPECT_EQ(shape.kind, PrimitiveKind::Polylines);
  EXPECT_EQ(linesOf(shape), kTwoLines);
  EXPECT_TRUE(shape.corner_records.empty());
}

TEST(LinesAndPointsFromBytes, pointsOf90Quantised) {
  const Bytes data = hex({
      "da 00 00 00",                                      // element length
      "16 47 13 98 11 00 18 08 19 98 08 00 09 83 5d 5a",  // point set
      "04",                                               // base type
      "07 00 00 00",                                      // object id
      "01 00",                                            // version
      "01 00",                                            // version
      "02 00 00 00 00 00 00 00",                          // bindings
      "01 00",                                            // version
      "08 00 00 00",                                      // vertex records id
      "01 00",                                            // version
      "01 00 00 00",                                      // groups
      "01 00 00 00",                                      // primitives
      "03 00 00 00",                                      // entries of the vertex list
      "02 00 00 00",                                      // group list: 2 values
      "01",                                               //   bit length
      "12 00 00 00",                                      //   18 bits: fixed width, 0 to 1
      "00 40 11 02",                                      //   0 1
      "02 00 00 00",                                      // primitive list: 2 values
      "01",                                               //   bit length
      "15 00 00 00",                                      //   21 bits: fixed width, 0 to 3
      "00 98 19 02",                                      //   0 3
      "03 00 00 00",                                      // vertex list: 3 values
      "01",                                               //   bit length
      "17 00 00 00",                                      //   23 bits: fixed width, 0 to 2
      "00 12 19 02",                                      //   0 2 1
      "b6 9a 9d 1c",                                      // hash of the three lists
      "02 00 00 00 00 00 00 00",                          // bindings
      "08 00 00 00",                                      // quantisation: 8 bits for coordinates
      "03 00 00 00",                                      // records
      "03 00 00 00",                                      // unique coordinates
      "03 00 00 00",                                      // run lengths: 3 values
      "01",                                               //   bit length
      "11 00 00 00",                                      //   17 bits: fixed width, 1 to 1
      "00 80 12 04",                                      //   1 1 1
      "17 91 d6 37",                                      // hash of the run lengths
      "03 00 00 00",                                      // coordinates
      "03",                                               // components
      "00 00 00 00",                                      // quantiser of x
      "00 00 7f 43",                                      // to
      "08",                                               // bits
      "00 00 00 00",                                      // quantiser of y
      "00 00 7f 43",                                      // to
      "08",                                               // bits
      "00 00 20 c1",                                      // quantiser of z
      "00 00 20 c1",                                      // to
      "00",                                               // bits
      "03 00 00 00",                                      // codes of x: 3 values
      "01",                                               //   bit length
      "2f 00 00 00",                                      //   47 bits: fixed width, 0 to 255
      "01 fe 49 02 00 00 0e fe",                          //   0 255 7
      "03 00 00 00",                                      // codes of y: 3 values
      "01",                                               //   bit length
      "27 00 00 00",                                      //   39 bits: fixed width, 5 to 32
      "5e a0 3a 08 00 00 00 c0",                          //   16 32 5
      "03 00 00 00",                                      // codes of z: 3 values
      "01",                                               //   bit length
      "0f 00 00 00",                                      //   15 bits: fixed width, 0 to 0
      "00 00 08 02",                                      //   0 0 0
      "d7 49 94 0d",                                      // hash
      "01 00",                                            // tail
  });
  const ShapeGeometry shape = decoded(data, {9, 0});
  EXPECT_EQ(shape.kind, PrimitiveKind::Points);
  EXPECT_EQ(linesOf(shape), kThreePoints);
}

TEST(LinesAndPointsFromBytes, polylinesOf10WithoutLoss) {
  const Bytes data = hex({
      "36 01 00 00",                                      // element length
      "a1 10 dd 10 c8 2a d1 11 9b 6b 00 80 c7 bb 59 97",  // polyline set
      "04",                                               // base type
      "07 00 00 00",                                      // object id
      "01",                                               // version
      "01",                                               // version
      "02 00 00 00 00 00 00 00",                          // bindings
      "12 01 00 00",                                      // inner element length
      "ad a5 30 f8 4c be bc 4f 9b 5f b9 26 92 78 d2 e1",  // mesh
      "09",                                               // base type
      "08 00 00 00",                                      // object id
      "01",                                               // version
      "09 00 00 00",                                      // vertex records id
      "01",                                               // version
      "01 00 00 00",                                      // groups
      "02 00 00 00",                                      // primitives
      "06 00 00 00",                                      // entries of the vertex list
      "02 00 00 00",                                      // group list: 2 values
      "01",                                               //   bit length
      "0f 00 00 00",                                      //   15 bits: fixed width, 0 to 2
      "00 00 84 00",                                      //   0 2
      "03 00 00 00",                                      // primitive list: 3 values
      "01",                                               //   bit length
      "14 00 00 00",                                      //   20 bits: fixed width, 0 to 6
      "00 e0 81 01",                                      //   0 3 6
      "06 00 00 00",                                      // vertex list: 6 values
      "01",                                               //   bit length
      "1d 00 00 00",                                      //   29 bits: fixed width, 0 to 4
      "00 a7 00 01",                                      //   0 1 2 3 4 0
      "f6 29 9e 98",                                      // hash of the three lists
      "02 00 00 00 00 00 00 00",                          // bindings
      "00 00 00 00",                                      // quantisation: none
      "05 00 00 00",                                      // records
      "05 00 00 00",                                      // unique coordinates
      "05 00 00 00",                                      // run lengths: 5 values
      "01",                                               //   bit length
      "0b 00 00 00",                                      //   11 bits: fixed width, 1 to 1
      "00 00 40 08",                                      //   1 1 1 1 1
      "2b 99 52 89",                                      // hash of the run lengths
      "05 00 00 00",                                      // coordinates
      "03",                                               // three components
      "00 00 00 00",                                      // quantiser of x: not used
      "00 00 00 00",
      "00",           // 0 bits: lossless
      "00 00 00 00",  // quantiser of y: not used
      "00 00 00 00",
      "00",           // 0 bits: lossless
      "00 00 00 00",  // quantiser of z: not used
      "00 00 00 00",
      "00",           // 0 bits: lossless
      "05 00 00 00",  // float bits of x: 5 values
      "01",           //   bit length
      "e2 00 00 00",  //   226 bits: fixed width, -8388608 to 1077936128
      "60 08 21 04 48 21 84 10 00 00 00 51 00 00 06 02 00 00 0c 04 00 00 00 08 00 00 00 00 00 00 00 "
      "00",           //   1065353216 1077936128 1077936128 1065353216 -8388608
      "05 00 00 00",  // float bits of y: 5 values
      "01",           //   bit length
      "e7 00 00 00",  //   231 bits: fixed width, 1073741824 to 2139095040
      "42 08 21 04 08 21 04 14 00 00 f7 63 00 00 00 00 00 10 00 00 00 40 00 00 00 00 7f 00 00 00 00 "
      "00",           //   1073741824 1073741824 1082130432 1082130432 2139095040
      "05 00 00 00",  // float bits of z: 5 values
      "01",           //   bit length
      "c9 00 00 00",  //   201 bits: fixed width, -2124414976 to 0
      "5a 08 21 04 00 f5 03 38 00 ea 07 00 00 d4 0f 00 00 88 0f 00 00 00 00 00 00 00 00 00",  //   0 0
                                                                                              //   0
                                                                                              //   -1082130432
                                                                                              //   -2124414976
      "46 6f f2 76",                                                                          // hash
      "01",                                                                                   // version
  });
  const ShapeGeometry shape = decoded(data, {10, 0});
  EXPECT_EQ(shape.kind, PrimitiveKind::Polylines);
  EXPECT_EQ(linesOf(shape), kTwoLines);
  EXPECT_TRUE(shape.corner_records.empty());
}

TEST(LinesAndPointsFromBytes, pointsOf10WithNormalsAndNoPrimitives) {
  const Bytes data = hex({
      "f3 00 00 00",                                      // element length
      "16 47 13 98 11 00 18 08 19 98 08 00 09 83 5d 5a",  // point set
      "04",                                               // base type
      "07 00 00 00",                                      // object id
      "01",                                               // version
      "01",                                               // version
      "0a 00 00 00 00 00 00 00",                          // bindings: coordinates and normals
      "cf 00 00 00",                                      // inner element length
      "ad a5 30 f8 4c be bc 4f 9b 5f b9 26 92 78 d2 e1",  // mesh
      "09",                                               // base type
      "08 00 00 00",                                      // object id
      "01",                                               // version
      "09 00 00 00",                                      // vertex records id
      "01",                                               // version
      "00 00 00 00",                                      // groups
      "00 00 00 00",                                      // primitives
      "03 00 00 00",                                      // entries of the vertex list
      "00 00 00 00",                                      // group list: 0 values
      "00 00 00 00",                                      // primitive list: 0 values
      "03 00 00 00",                                      // vertex list: 3 values
      "01",                                               //   bit length
      "11 00 00 00",                                      //   17 bits: fixed width, 0 to 2
      "00 80 84 00",                                      //   0 2 1
      "59 df b9 3f",                                      // hash of the three lists
      "0a 00 00 00 00 00 00 00",                          // bindings
      "08 02 00 00",              // quantisation: 8 bits for coordinates, 2 for normals
      "03 00 00 00",              // records
      "02 00 00 00",              // unique coordinates
      "02 00 00 00",              // run lengths: 2 values
      "01",                       //   bit length
      "0d 00 00 00",              //   13 bits: fixed width, 1 to 2
      "00 00 90 08",              //   2 1
      "88 5d 40 76",              // hash of the run lengths
      "02 00 00 00",              // coordinates
      "03",                       // components
      "00 00 00 00",              // quantiser of x
      "00 00 7f 43",              // to
      "08",                       // bits
      "00 00 00 00",              // quantiser of y
      "00 00 7f 43",              // to
      "08",                       // bits
      "00 00 20 c1",              // quantiser of z
      "00 00 75 43",              // to
      "08",                       // bits
      "02 00 00 00",              // codes of x: 2 values
      "01",                       //   bit length
      "25 00 00 00",              //   37 bits: fixed width, 0 to 255
      "07 00 ff 03 00 00 00 f8",  //   0 255
      "02 00 00 00",              // codes of y: 2 values
      "01",                       //   bit length
      "1f 00 00 00",              //   31 bits: fixed width, 16 to 32
      "20 20 41 04",              //   16 32
      "02 00 00 00",              // codes of z: 2 values
      "01",                       //   bit length
      "15 00 00 00",              //   21 bits: fixed width, 10 to 10
      "00 00 15 54",              //   10 10
      "b6 94 2a b5",              // hash
      "03 00 00 00",              // normals
      "03",                       // components
      "02",                       // bits of an angle
      "03 00 00 00",              // normals, packed: 3 values
      "01",                       //   bit length
      "2d 00 00 00",              //   45 bits: fixed width, 0 to 252
      "87 03 3f 03 00 00 00 e0",  //   112 252 0
      "06 5f 26 45",              // hash
      "01",                       // version
  });
  const ShapeGeometry shape = decoded(data, {10, 3});
  EXPECT_EQ(shape.kind, PrimitiveKind::Points);
  EXPECT_EQ(linesOf(shape), (std::vector<Line>{{{0, 16, 0}, {255, 32, 0}, {0, 16, 0}}}));
  EXPECT_THAT(shape.corner_records, ElementsAre(0, 2, 1));
  const float half = std::sqrt(0.5F);
  const Point normals[] = {{half, 0, half}, {0, 0, 1}, {-half, 0, -half}};
  for (std::uint32_t i = 0; i < 3; ++i) {
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(at(shape.normals, i)[k], normals[i][k], 1e-6) << i;
  }
}

TEST(LinesAndPointsFromBytes, polylinesOf8Quantised) {
  const Bytes data = hex({
      "aa 00 00 00",                                      // element length
      "a1 10 dd 10 c8 2a d1 11 9b 6b 00 80 c7 bb 59 97",  // polyline set
      "04",                                               // base type
      "01 00",                                            // version
      "00 00 00 00",                                      // binding attributes
      "08 00 00 00",                                      // bits
      "01 00",                                            // version of the set
      "01 00",                                            // version of the representation
      "00 00 00",                                         // no normals, texture coordinates, colours
      "08 00 00 00",                                      // bits: 8 for coordinates
      "01",                                               // primitive list: bit length
      "1d 00 00 00",                                      //   29 bits
      "05 00 00 00",                                      //   5 values
      "01 00 00 00",                                      //   words
      "38 11 97 71",                                      //   0 3 5 8 -1
      "00 00 00 00",                                      // quantiser of x
      "00 00 7f 43",                                      // to
      "08",                                               // bits
      "00 00 00 00",                                      // quantiser of y
      "00 00 7f 43",                                      // to
      "08",                                               // bits
      "00 00 20 c1",                                      // quantiser of z
      "00 00 75 43",                                      // to
      "08",                                               // bits
      "06 00 00 00",                                      // vertices
      "01",                                               // codes of x: bit length
      "2a 00 00 00",                                      //   42 bits
      "06 00 00 00",                                      //   6 values
      "02 00 00 00",                                      //   words
      "e7 e2 3f 7e 00 00 80 10",                          //   0 255 7 7 2 2
      "01",                                               // codes of y: bit length
      "2c 00 00 00",                                      //   44 bits
      "06 00 00 00",                                      //   6 values
      "02 00 00 00",                                      //   words
      "54 82 18 f2 00 00 b0 b3",                          //   16 32 5 5 0 -1
      "01",                                               // codes of z: bit length
      "26 00 00 00",                                      //   38 bits
      "06 00 00 00",                                      //   6 values
      "02 00 00 00",                                      //   words
      "0a 85 42 f1 00 00 00 88",                          //   10 10 10 10 0 0
      "01",                                               // vertex data indices: bit length
      "2b 00 00 00",                                      //   43 bits
      "0a 00 00 00",                                      //   10 values
      "02 00 00 00",                                      //   words
      "59 af 10 67 00 00 20 bd",                          //   0 1 2 2 -1 0 0 1 0 -7
  });
  const ShapeGeometry shape = decoded(data, {8, 1});
  EXPECT_EQ(shape.kind, PrimitiveKind::Polylines);
  const Point v[] = {{0, 16, 0}, {255, 32, 0}, {7, 5, 0}, {7, 5, 0}, {9, 5, 0}, {11, 4, 0}};
  EXPECT_EQ(linesOf(shape),
            (std::vector<Line>{{v[0], v[1], v[2]}, {v[2], v[3]}, {v[3], v[4], v[5]}, {v[5], v[0]}}));
}

TEST(LinesAndPointsFromBytes, polylinesOf8WithoutLossBigEndianStoredPlainly) {
  const Bytes data = hex({
      "00 00 00 7b",                                      // element length
      "10 dd 10 a1 2a c8 11 d1 9b 6b 00 80 c7 bb 59 97",  // polyline set
      "04",                                               // base type
      "00 01",                                            // version
      "00 00 00 00",                                      // binding attributes
      "00 00 00 00",                                      // bits: lossless
      "00 01",                                            // version of the set
      "00 01",                                            // version of the representation
      "00 00 00",                                         // no normals, texture coordinates, colours
      "00 00 00 00",                                      // bits: 0, lossless
      "01",                                               // primitive list: bit length
      "00 00 00 0e",                                      //   14 bits
      "00 00 00 03",                                      //   3 values
      "00 00 00 01",                                      //   words
      "71 94 00 00",                                      //   0 3 5
      "00 00 00 3c",                                      // bytes of records
      "ff ff ff c4",                                      // stored plainly
      "3f 80 00 00",                                      // x
      "40 00 00 00",                                      // y
      "00 00 00 00",                                      // z
      "40 40 00 00",                                      // x
      "40 00 00 00",                                      // y
      "00 00 00 00",                                      // z
      "40 40 00 00",                                      // x
      "40 80 00 00",                                      // y
      "00 00 00 00",                                      // z
      "3f 80 00 00",                                      // x
      "40 80 00 00",                                      // y
      "bf 80 00 00",                                      // z
      "3f 00 00 00",                                      // x
      "c0 00 00 00",                                      // y
      "40 e0 00 00",                                      // z
  });
  const ShapeGeometry shape = decoded(data, {8, 2}, ByteOrder::Big);
  EXPECT_EQ(shape.kind, PrimitiveKind::Polylines);
  EXPECT_EQ(linesOf(shape),
            (std::vector<Line>{{{1, 2, 0}, {3, 2, 0}, {3, 4, 0}}, {{1, 4, -1}, {0.5F, -2, 7}}}));
}

TEST(LinesAndPointsFromBytes, pointsOf8BigEndianWithoutAPrimitiveList) {
  const Bytes data = hex({
      "00 00 00 96",                                      // element length
      "98 13 47 16 00 11 08 18 19 98 08 00 09 83 5d 5a",  // point set
      "04",                                               // base type
      "00 01",                                            // version
      "00 00 00 00",                                      // binding attributes
      "08 00 00 00",                                      // bits
      "00 01",                                            // version of the set
      "00 01",                                            // version of the representation
      "00 00 00",                                         // no normals, texture coordinates, colours
      "08 00 00 00",                                      // bits: 8 for coordinates
      "01",                                               // primitive list: bit length
      "00 00 00 00",                                      //   0 bits
      "00 00 00 00",                                      //   0 values
      "00 00 00 00",                                      //   words
      "00 00 00 00",                                      // quantiser of x
      "43 7f 00 00",                                      // to
      "08",                                               // bits
      "00 00 00 00",                                      // quantiser of y
      "43 7f 00 00",                                      // to
      "08",                                               // bits
      "c1 20 00 00",                                      // quantiser of z
      "c1 20 00 00",                                      // to
      "08",                                               // bits
      "00 00 00 03",                                      // vertices
      "01",                                               // codes of x: bit length
      "00 00 00 1b",                                      //   27 bits
      "00 00 00 03",                                      //   3 values
      "00 00 00 01",                                      //   words
      "7e 3f e2 e0",                                      //   0 255 7
      "01",                                               // codes of y: bit length
      "00 00 00 1e",                                      //   30 bits
      "00 00 00 03",                                      //   3 values
      "00 00 00 01",                                      //   words
      "f2 18 82 54",                                      //   16 32 5
      "01",                                               // codes of z: bit length
      "00 00 00 03",                                      //   3 bits
      "00 00 00 03",                                      //   3 values
      "00 00 00 01",                                      //   words
      "00 00 00 00",                                      //   0 0 0
      "01",                                               // vertex data indices: bit length
      "00 00 00 0e",                                      //   14 bits
      "00 00 00 03",                                      //   3 values
      "00 00 00 01",                                      //   words
      "71 54 00 00",                                      //   0 2 1
  });
  const ShapeGeometry shape = decoded(data, {8, 0}, ByteOrder::Big);
  EXPECT_EQ(shape.kind, PrimitiveKind::Points);
  EXPECT_EQ(linesOf(shape), kThreePoints);
}

}  // namespace
