// Whole shape elements of lines and points of 8, put down byte by byte from the layouts: nothing of the
// project wrote them, so maker and reader cannot share a mistake here.
#include <gmock/gmock.h>

#include "tests/jttk/codec/shape_from_bytes.h"

namespace {

using jttk::ByteOrder;
using jttk::PrimitiveKind;
using jttk::ShapeGeometry;
using jttk::testing::decoded;
using jttk::testing::fromHex;
using jttk::testing::Line;
using jttk::testing::linesOf;
using jttk::testing::Point;
using loftbay::maker::pieces::Bytes;

const std::vector<Line> kThreePoints = {{{0, 16, -10}, {7, 5, -10}, {255, 32, -10}}};

TEST(LinesAndPointsFromBytes, PolylinesOf8Quantised) {
  const Bytes data = fromHex({
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

TEST(LinesAndPointsFromBytes, PolylinesOf8WithoutLossBigEndianStoredPlainly) {
  const Bytes data = fromHex({
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

TEST(LinesAndPointsFromBytes, PointsOf8BigEndianWithoutAPrimitiveList) {
  const Bytes data = fromHex({
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
