// Whole shape elements of points of 9.0 and 10, put down byte by byte from the layouts: nothing of the
// project wrote them, so maker and reader cannot share a mistake here.
#include <gmock/gmock.h>

#include <cmath>

#include "tests/jttk/codec/shape_from_bytes.h"

namespace {

using jttk::PrimitiveKind;
using jttk::ShapeGeometry;
using jttk::testing::at;
using jttk::testing::decoded;
using jttk::testing::fromHex;
using jttk::testing::Line;
using jttk::testing::linesOf;
using jttk::testing::Point;
using loftbay::maker::pieces::Bytes;
using ::testing::ElementsAre;

const std::vector<Line> kPointsRead = {{{0, 16, -10}, {7, 5, -10}, {255, 32, -10}}};

TEST(LinesAndPointsFromBytes, PointsOf90Quantised) {
  const Bytes data = fromHex({
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
  EXPECT_EQ(linesOf(shape), kPointsRead);
}

TEST(LinesAndPointsFromBytes, PointsOf10WithNormalsAndNoPrimitives) {
  const Bytes data = fromHex({
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

}  // namespace
