// Whole shape elements of lines of 9.5 and 10, put down byte by byte from the layouts: nothing of the project
// wrote them, so maker and reader cannot share a mistake here.
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
using loftbay::maker::pieces::Bytes;

const std::vector<Line> kTwoLines = {{{1, 2, 0}, {3, 2, 0}, {3, 4, 0}},
                                     {{1, 4, -1}, {0.5F, -2, 7}, {1, 2, 0}}};

TEST(LinesAndPointsFromBytes, PolylinesOf95WithoutLoss) {
  const Bytes data = fromHex({
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

TEST(LinesAndPointsFromBytes, PolylinesOf95BigEndian) {
  const Bytes data = fromHex({
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

TEST(LinesAndPointsFromBytes, PolylinesOf10WithoutLoss) {
  const Bytes data = fromHex({
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

}  // namespace
