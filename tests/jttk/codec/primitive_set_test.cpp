// Primitive sets, written byte by byte: layout, what the numbers may mean, and damage of every kind.
#include "jttk/codec/primitives/primitive_set.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "jttk/codec/primitives/primitive_meaning.h"
#include "samples/maker/pieces/bytes.h"
#include "samples/maker/pieces/packets.h"

namespace {

namespace pieces = loftbay::maker::pieces;
using jttk::Primitive;
using jttk::PrimitiveSet;
using jttk::PrimitiveType;
using jttk::StatedExtent;
using loftbay::maker::pieces::ByteBuilder;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::packetOf;
using loftbay::maker::pieces::zlibOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr jttk::Version k81{8, 1};
constexpr jttk::Version k95{9, 5};
constexpr jttk::Version k100{10, 0};
constexpr std::array<float, 4> kUnturned = {0, 0, 0, 1};

// A record without colour: origin, size, quaternion, type, reserved.
void addRecord(ByteBuilder& out, const Primitive& p, bool with_color = false, std::uint32_t reserved = 0) {
  for (const float v : p.origin) out.f32(v);
  for (const float v : p.size) out.f32(v);
  for (const float v : p.rotation) out.f32(v);
  if (with_color) {
    for (const float v : p.color) out.f32(v);
  }
  out.u32(static_cast<std::uint32_t>(p.type)).u32(reserved);
}

// I32 size, I32 packed size, zlib stream.
Bytes block(const Bytes& records) {
  const Bytes packed = zlibOf(records);
  return ByteBuilder()
      .u32(static_cast<std::uint32_t>(records.size()))
      .u32(static_cast<std::uint32_t>(packed.size()))
      .bytes(packed)
      .result();
}

// Object id and versions, bindings, bits, texture generation.
ByteBuilder header(jttk::Version version, std::uint32_t color_binding = 0, std::uint32_t place_bits = 0) {
  ByteBuilder out;
  if (version.major >= 9) out.u32(77);
  if (version.major == 8) out.u16(1);
  if (version.major == 9) out.u16(1).u16(1);
  if (version.major == 10) out.u8(1).u8(1);
  out.u32(0).u32(color_binding).u8(place_bits).u8(0).u32(0);
  return out;
}

const Primitive kBox = {PrimitiveType::Box, {1, 2, 3}, {10, 20, 30}, kUnturned, {}};
const Primitive kBall = {PrimitiveType::Sphere, {5, 6, 7}, {2, 0, 0}, kUnturned, {}};

Bytes element(jttk::Version version, const std::vector<Primitive>& primitives) {
  ByteBuilder records;
  for (const Primitive& p : primitives) addRecord(records, p);
  return header(version).bytes(block(records.result())).result();
}

jttk::Result<PrimitiveSet> decode(const Bytes& bytes, jttk::Version version = k81) {
  return jttk::decodePrimitiveSet(jttk::ByteReader(bytes), version);
}
std::string errorOf(const Bytes& bytes, jttk::Version version = k81) {
  const auto set = decode(bytes, version);
  return set ? "decoded" : set.error().what;
}

// ---- Layout.

TEST(PrimitiveSet, OneBoxByteByByte) {
  const Bytes bytes = ByteBuilder()
                          .u16(1)  // version
                          .u32(0)
                          .u32(0)  // no texture coordinates, no colours
                          .u8(0)
                          .u8(0)   // lossless
                          .u32(0)  // texture generation
                          .u32(48)
                          .u32(0xffffffd0)  // 48 bytes, and the same stored plainly (-48)
                          .f32(1)
                          .f32(2)
                          .f32(3)  // place
                          .f32(10)
                          .f32(20)
                          .f32(30)  // size
                          .f32(0)
                          .f32(0)
                          .f32(0)
                          .f32(1)  // not turned
                          .u32(0)
                          .u32(0)  // box, reserved
                          .result();
  const auto set = decode(bytes);
  ASSERT_TRUE(set) << set.error().text();
  ASSERT_EQ(set->primitives.size(), 1U);
  EXPECT_EQ(set->primitives[0].type, PrimitiveType::Box);
  EXPECT_THAT(set->primitives[0].origin, ElementsAre(1, 2, 3));
  EXPECT_THAT(set->primitives[0].size, ElementsAre(10, 20, 30));
  EXPECT_THAT(set->primitives[0].rotation, ElementsAre(0, 0, 0, 1));
  EXPECT_FALSE(set->has_colors);
}

TEST(PrimitiveSet, PackedRecordsInEveryVersion) {
  for (const jttk::Version version : {k81, k95, k100}) {
    const auto set = decode(element(version, {kBox, kBall}), version);
    ASSERT_TRUE(set) << version.major << ": " << set.error().text();
    ASSERT_EQ(set->primitives.size(), 2U);
    EXPECT_EQ(set->primitives[1].type, PrimitiveType::Sphere);
    EXPECT_THAT(set->primitives[1].origin, ElementsAre(5, 6, 7));
  }
}

TEST(PrimitiveSet, ColoursStandBeforeTheType) {
  Primitive colored = kBall;
  colored.color = {0.25F, 0.5F, 1};
  ByteBuilder records;
  addRecord(records, colored, true, 9);
  const auto set = decode(header(k81, 1).bytes(block(records.result())).result());
  ASSERT_TRUE(set) << set.error().text();
  EXPECT_TRUE(set->has_colors);
  EXPECT_THAT(set->primitives[0].color, ElementsAre(0.25F, 0.5F, 1));
}

TEST(PrimitiveSet, OtherFormsOfTheHeaderAreToldByTheSizes) {
  ByteBuilder records;
  addRecord(records, kBox);
  const Bytes data = block(records.result());
  const Bytes forms[] = {
      ByteBuilder().u32(0).u32(0).u8(0).u8(0).u32(1).bytes(data).result(),                // no version
      ByteBuilder().u16(1).u32(0).u32(0).u8(0).u8(0).bytes(data).result(),                // no generation
      ByteBuilder().u16(1).u32(0).u32(0).u8(0).u8(0).u16(1).u32(1).bytes(data).result(),  // one with a
                                                                                          // version
      ByteBuilder().u16(1).u32(0).u32(0).bytes(data).result(),                            // no bits either
  };
  for (const Bytes& form : forms) {
    const auto set = decode(form);
    ASSERT_TRUE(set) << set.error().text();
    EXPECT_THAT(set->primitives[0].size, ElementsAre(10, 20, 30));
  }
}

// Two balls, quantised to 2 bits: codes 0 and 3 are the ends of the ranges, 1 is a third of the range.
Bytes quantised(jttk::Version version, std::int32_t type = 3) {
  ByteBuilder out = header(version, 0, 2);
  const auto packet = [&](std::int32_t a, std::int32_t b) {
    if (version.major == 8) {  // codec 0, count, values
      out.u8(0).i32(2).i32(a).i32(b);
    } else {
      out.bytes(packetOf({a, b}, version.major == 9 ? pieces::PacketForm::V9 : pieces::PacketForm::V10));
    }
  };
  for (int axis = 0; axis < 3; ++axis) out.f32(0).f32(30).u8(2);
  out.u32(2);
  packet(0, 3);
  packet(1, 1);
  packet(2, 0);
  for (int axis = 0; axis < 3; ++axis) out.f32(0).f32(axis == 0 ? 6.0F : 0.0F).u8(2);
  out.u32(2);
  packet(1, 3);
  packet(0, 0);
  packet(0, 0);
  for (int k = 0; k < 4; ++k) out.f32(0).f32(1).u8(2);
  out.u32(2);
  packet(0, 0);
  packet(0, 0);
  packet(0, 0);
  packet(3, 3);
  packet(3, type);
  return out.result();
}

TEST(PrimitiveSet, QuantisedNumbersInEveryVersion) {
  for (const jttk::Version version : {k81, k95, k100}) {
    const auto set = decode(quantised(version), version);
    ASSERT_TRUE(set) << version.major << ": " << set.error().text();
    ASSERT_EQ(set->primitives.size(), 2U);
    EXPECT_THAT(set->primitives[0].origin, ElementsAre(0, 10, 20));
    EXPECT_THAT(set->primitives[1].origin, ElementsAre(30, 10, 0));
    EXPECT_THAT(set->primitives[0].size, ElementsAre(2, 0, 0));
    EXPECT_THAT(set->primitives[1].size, ElementsAre(6, 0, 0));
    EXPECT_THAT(set->primitives[0].rotation, ElementsAre(0, 0, 0, 1));
    EXPECT_EQ(set->place_bits, 2);
  }
}

// ---- Damage.

TEST(PrimitiveSet, EveryCutIsAnError) {
  for (const jttk::Version version : {k81, k95, k100}) {
    for (const Bytes& whole : {element(version, {kBox, kBall}), quantised(version)}) {
      for (std::size_t size = 0; size < whole.size(); ++size) {
        // A block of exactly that size, so that reading on is seen.
        const auto exact = std::make_unique<std::byte[]>(size);
        std::copy_n(whole.begin(), size, exact.get());
        const auto set = jttk::decodePrimitiveSet(jttk::ByteReader({exact.get(), size}), version);
        EXPECT_FALSE(set) << version.major << " cut at " << size;
      }
    }
  }
}

TEST(PrimitiveSet, BytesThatAreLeftOverAreAnError) {
  for (const jttk::Version version : {k81, k95, k100}) {
    for (Bytes bytes : {element(version, {kBox}), quantised(version)}) {
      bytes.push_back({});
      EXPECT_FALSE(decode(bytes, version)) << version.major;
    }
  }
}

TEST(PrimitiveSet, SizesThatLieAreErrors) {
  ByteBuilder records;
  addRecord(records, kBox);
  const Bytes packed = zlibOf(records.result());
  const auto with = [&](std::uint32_t size, std::uint32_t stored) {
    return header(k81).u32(size).u32(stored).bytes(packed).result();
  };
  const auto stored = static_cast<std::uint32_t>(packed.size());
  EXPECT_EQ(errorOf(with(48, stored)), "decoded");
  EXPECT_THAT(errorOf(with(47, stored)), HasSubstr("more than 47 bytes"));
  EXPECT_THAT(errorOf(with(49, stored)), HasSubstr("48 bytes where 49 are announced"));
  EXPECT_THAT(errorOf(with(48, stored + 1)), HasSubstr("are left"));
  EXPECT_THAT(errorOf(with(48, 0)), HasSubstr("are left"));
  EXPECT_FALSE(decode(with(48, 0x80000000U)));
  EXPECT_FALSE(decode(with(0x80000000U, stored)));
  EXPECT_THAT(errorOf(with(0x7fffffffU, stored)), HasSubstr("more than the element can hold"));
  EXPECT_THAT(errorOf(header(k81).bytes(block(Bytes(47))).result()), HasSubstr("no multiple of 48"));
  EXPECT_THAT(errorOf(header(k81).bytes(block({})).result()), HasSubstr("no primitives"));
  // The stream is damaged.
  Bytes damaged = with(48, stored);
  damaged[damaged.size() - 1] ^= std::byte{1};
  EXPECT_THAT(errorOf(damaged), HasSubstr("does not inflate"));
}

TEST(PrimitiveSet, CountsOfQuantisedNumbersThatLieAreErrors) {
  for (const std::uint32_t count : {0U, 1U, 3U, 0x7fffffffU, 0x80000000U}) {
    Bytes bytes = quantised(k81);
    const Bytes field = ByteBuilder().u32(count).result();
    std::copy(field.begin(), field.end(), bytes.begin() + 16 + 27);  // behind the first three quantisers
    EXPECT_FALSE(decode(bytes)) << count;
  }
}

TEST(PrimitiveSet, TypesOutOfTheTableAreErrors) {
  for (const std::uint32_t type : {5U, 255U, 0xffffffffU}) {
    ByteBuilder records;
    addRecord(records, kBox);
    addRecord(records, kBox);
    Bytes bytes = records.result();
    const Bytes field = ByteBuilder().u32(type).result();
    std::copy(field.begin(), field.end(), bytes.begin() + 48 + 40);
    EXPECT_THAT(errorOf(header(k81).bytes(block(bytes)).result()), HasSubstr("is not known"));
    EXPECT_FALSE(decode(quantised(k81, static_cast<std::int32_t>(type))));
  }
}

TEST(PrimitiveSet, NumbersThatAreNoneAndRotationsThatAreNoneAreErrors) {
  constexpr float kBad[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity()};
  for (const float bad : kBad) {
    Primitive p = kBox;
    p.origin[1] = bad;
    EXPECT_THAT(errorOf(element(k81, {kBall, p})), HasSubstr("primitive 1 has a number that is not finite"));
    p = kBox;
    p.size[2] = bad;
    EXPECT_THAT(errorOf(element(k81, {p})), HasSubstr("not finite"));
    p = kBox;
    p.rotation[0] = bad;
    EXPECT_THAT(errorOf(element(k81, {p})), HasSubstr("not finite"));
  }
  Primitive p = kBox;
  p.rotation = {0, 0, 0, 0};
  EXPECT_THAT(errorOf(element(k81, {p})), HasSubstr("has a rotation that is none"));
  p.rotation = {0, 0.1F, 0, 1};
  EXPECT_THAT(errorOf(element(k81, {p})), HasSubstr("has a rotation that is none"));
  ByteBuilder records;
  p = kBox;
  p.color = {0, 2, 0};
  addRecord(records, p, true);
  EXPECT_THAT(errorOf(header(k81, 1).bytes(block(records.result())).result()), HasSubstr("colour"));
}

TEST(PrimitiveSet, BitsOverThirtyTwoAndUnknownBindingsAreErrors) {
  Bytes bytes = quantised(k81);
  bytes[10] = std::byte{33};  // bits per vertex
  EXPECT_FALSE(decode(bytes));
  bytes = quantised(k81);
  bytes[16 + 8] = std::byte{33};  // bits of the first quantiser
  EXPECT_FALSE(decode(bytes));
  bytes = element(k81, {kBox});
  bytes[6] = std::byte{4};  // colour binding
  EXPECT_FALSE(decode(bytes));
}

// ---- Meaning.

jttk::Result<jttk::ShapeGeometry> mesh(const std::vector<Primitive>& primitives, std::array<float, 6> box,
                                       float area = 0) {
  PrimitiveSet set;
  set.primitives = primitives;
  const StatedExtent stated[] = {{box, area}};
  return jttk::meshOfPrimitives(set, stated, 0);
}

std::array<float, 6> boxOf(const jttk::ShapeGeometry& g) {
  std::array<float, 6> box = {g.positions[0], g.positions[1], g.positions[2],
                              g.positions[0], g.positions[1], g.positions[2]};
  for (std::size_t i = 0; i < g.positions.size(); ++i) {
    box[i % 3] = std::min(box[i % 3], g.positions[i]);
    box[i % 3 + 3] = std::max(box[i % 3 + 3], g.positions[i]);
  }
  return box;
}

void expectFills(const std::vector<Primitive>& primitives, std::array<float, 6> box, float area = 0) {
  const auto shape = mesh(primitives, box, area);
  ASSERT_TRUE(shape) << shape.error().text();
  const auto found = boxOf(*shape);
  for (std::size_t k = 0; k < 6; ++k) EXPECT_NEAR(found[k], box[k], 0.02F * (box[3 + k % 3] - box[k % 3]));
}

TEST(PrimitiveMeaning, ABoxStandsWhereTheStatedBoxSaysItDoes) {
  expectFills({kBox}, {1, 2, 3, 11, 22, 33});       // from its corner
  expectFills({kBox}, {-4, -8, -12, 6, 12, 18});    // round its middle
  expectFills({kBox}, {-9, -18, -27, 11, 22, 33});  // round its middle, half lengths
  EXPECT_THAT(mesh({kBox}, {0, 0, 0, 10, 20, 30}).error().what, HasSubstr("do not agree with the box"));
  EXPECT_THAT(mesh({kBox}, {11, 22, 33, 1, 2, 3}).error().what, HasSubstr("do not agree with the box"));
}

TEST(PrimitiveMeaning, ACylinderHasItsHeightAndFootWhereTheStatedBoxSaysItDoes) {
  const Primitive round = {PrimitiveType::Cylinder, {0, 0, 0}, {2, 2, 10}, kUnturned, {}};
  expectFills({round}, {-2, -2, 0, 2, 2, 10});
  expectFills({round}, {-2, -2, -5, 2, 2, 5});
  const Primitive short_form = {PrimitiveType::Cylinder, {0, 0, 0}, {2, 10, 0}, kUnturned, {}};
  expectFills({short_form}, {-2, -2, 0, 2, 2, 10});
  const Primitive two_radii = {PrimitiveType::Cylinder, {0, 0, 0}, {4, 2, 10}, kUnturned, {}};
  expectFills({two_radii}, {-4, -2, 0, 4, 2, 10});  // an ellipse
  expectFills({two_radii}, {-4, -4, 0, 4, 4, 10});  // a cone
}

TEST(PrimitiveMeaning, ARotationIsReadWithItsRealPartAtTheEndThatFits) {
  // A quarter turn round x: y becomes z, z becomes -y.
  const float half = std::sqrt(0.5F);
  Primitive turned = {PrimitiveType::Box, {0, 0, 0}, {1, 2, 3}, {half, 0, 0, half}, {}};
  expectFills({turned}, {0, -3, 0, 1, 0, 2});
  turned.rotation = {half, half, 0, 0};  // real part first
  expectFills({turned}, {0, -3, 0, 1, 0, 2});
}

// The box does not show above which end of its side a prism's tip is; the area decides.
TEST(PrimitiveMeaning, TheAreaDecidesWhereTheBoxDoesNot) {
  const Primitive prism = {PrimitiveType::TriPrism, {0, 0, 0}, {3, 10, 4}, kUnturned, {}};
  const std::array<float, 6> box = {0, 0, 0, 3, 10, 4};
  EXPECT_THAT(mesh({prism}, box).error().what, HasSubstr("in more than one way"));
  // 3, 4 and 5 round the triangle of area 6, 10 deep.
  const auto right_angled = mesh({prism}, box, 2 * 6 + 10 * 12);
  ASSERT_TRUE(right_angled) << right_angled.error().text();
  EXPECT_THAT(right_angled->positions, ElementsAre(0, 10, 0, 3, 10, 0, 0, 10, 4, 0, 0, 0, 3, 0, 0, 0, 0, 4));
  const float side = std::hypot(1.5F, 4.0F);
  const auto pointed = mesh({prism}, box, 2 * 6 + 10 * (3 + 2 * side));
  ASSERT_TRUE(pointed) << pointed.error().text();
  EXPECT_THAT(pointed->positions, ElementsAre(0, 10, 0, 3, 10, 0, 1.5F, 10, 4, 0, 0, 0, 3, 0, 0, 1.5F, 0, 4));
}

TEST(PrimitiveMeaning, SolidsInsideOfOthersNeedTheArea) {
  // The pyramid's foot may be its middle or a corner; both are inside of the box.
  const Primitive outer = {PrimitiveType::Box, {0, 0, 0}, {100, 100, 100}, kUnturned, {}};
  const Primitive inner = {PrimitiveType::Cylinder, {50, 50, 50}, {4, 2, 10}, kUnturned, {}};
  const std::array<float, 6> box = {0, 0, 0, 100, 100, 100};
  EXPECT_THAT(mesh({outer, inner}, box).error().what, HasSubstr("in more than one way"));
}

TEST(PrimitiveMeaning, WithoutAStatedBoxNothingIsMade) {
  PrimitiveSet set;
  set.primitives = {kBox};
  EXPECT_THAT(jttk::meshOfPrimitives(set, {}, 0).error().what, HasSubstr("states no box"));
}

TEST(PrimitiveMeaning, TheSecondStatementIsTakenWhereTheFirstDoesNotAgree) {
  PrimitiveSet set;
  set.primitives = {kBox};
  const StatedExtent stated[] = {{{0, 0, 0, 0, 0, 0}, 0}, {{1, 2, 3, 11, 22, 33}, 0}};
  EXPECT_TRUE(jttk::meshOfPrimitives(set, stated, 0));
}

TEST(PrimitiveMeaning, SizesOfZeroAndBelowAreRefused) {
  for (const float size : {0.0F, -1.0F}) {
    for (const PrimitiveType type : {PrimitiveType::Box, PrimitiveType::Cylinder, PrimitiveType::Pyramid,
                                     PrimitiveType::Sphere, PrimitiveType::TriPrism}) {
      for (std::size_t k = 0; k < 3; ++k) {
        Primitive p = {type, {0, 0, 0}, {1, 1, 1}, kUnturned, {}};
        p.size[k] = size;
        // Where a missing number is as good as unused, the box does not agree.
        EXPECT_FALSE(mesh({p}, {-3, -3, -3, 3, 3, 3}, 10)) << static_cast<int>(type) << " " << k;
      }
    }
  }
}

TEST(PrimitiveMeaning, NumbersBeyondFloatAreRefused) {
  const Primitive huge = {PrimitiveType::Sphere, {3e38F, 0, 0}, {3e38F, 0, 0}, kUnturned, {}};
  EXPECT_FALSE(mesh({huge}, {-3e38F, -3e38F, -3e38F, 3e38F, 3e38F, 3e38F}));
}

TEST(PrimitiveMeaning, ManyRoundSolidsAreMadeCoarserAndTooManyRefused) {
  const auto corners = [](std::size_t count) -> std::size_t {
    const std::vector<Primitive> balls(count, kBall);
    const auto shape = mesh(balls, {3, 4, 5, 7, 8, 9});
    return shape ? shape->corner_positions.size() / count : 0;
  };
  EXPECT_EQ(corners(1), 52U * (6 + 4 * 24));
  EXPECT_EQ(corners(8000), 24U * (6 + 4 * 10));
  EXPECT_EQ(corners(70'000), 0U);
}

}  // namespace
