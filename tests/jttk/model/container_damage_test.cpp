// Files whose container is damaged: lengths, ids, ends. What can be read is read, and the rest is reported.
#include <gmock/gmock.h>

#include <cstring>

#include "samples/maker/guids.h"
#include "samples/maker/pieces/container.h"
#include "samples/maker/pieces/shapes.h"
#include "tests/jttk/model/loaded.h"
#include "tests/jttk/support/from_maker.h"

namespace {

namespace guids = loftbay::maker::guids;
namespace pieces = loftbay::maker::pieces;
using jttk::from_maker::guidOf;
using jttk::testing::partOf;
using jttk::testing::Recorder;
using loftbay::maker::GuidValue;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// Of a 9.x file: the first entry of the contents, and an entry's fields.
constexpr std::size_t kEntries = 80 + 1 + 4 + 4 + 16 + 4;
constexpr std::size_t kEntryBytes = 28;
constexpr std::size_t kLengthInEntry = 20;
constexpr std::size_t kLengthInHeader = 20;

std::uint32_t numberAt(const Bytes& bytes, std::size_t at) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}
void setNumber(Bytes& bytes, std::size_t at, std::uint32_t value) {
  std::memcpy(bytes.data() + at, &value, sizeof value);
}
// The offset that the entry with that number states.
std::size_t placeOf(const Bytes& bytes, std::size_t entry) {
  return numberAt(bytes, kEntries + entry * kEntryBytes + 16);
}
void swapIds(Bytes& bytes, std::size_t a, std::size_t b) {
  const auto entry = [&](std::size_t i) {
    return bytes.begin() + static_cast<std::ptrdiff_t>(kEntries + i * kEntryBytes);
  };
  std::swap_ranges(entry(a), entry(a) + 16, entry(b));
}

// What walking a file gives, and what was reported meanwhile.
struct Outcome {
  explicit Outcome(const Bytes& bytes) {
    const Recorder recorder;
    auto document = jttk::openDocument("folder\\machine.jt", bytes);
    if (document) {
      JtkHierarchy* root = jttk::createRoot(std::move(*document));
      root->ref();
      for (const auto& shape : jttk::testing::walk(root).shapes) triangles.push_back(shape.triangles);
      root->unref();
    } else {
      error = document.error().text();
    }
    losses = recorder.losses;
    notes = recorder.notes;
  }
  std::vector<std::size_t> triangles;  // of every placed shape
  std::vector<std::string> losses;
  std::vector<std::string> notes;
  std::string error;
};

// Two parts, the first a tetrahedron (entry 1), the second a cube (entry 2).
GraphBuilder twoParts() {
  GraphBuilder graph;
  graph.partition(0, {1}).name("machine");
  graph.metaData(1, {2, 3});
  graph.part(2, {4}).name("left");
  graph.part(3, {5}).name("right");
  graph.triStrips(4);
  graph.setGeometry(pieces::shapeElement(guids::kTriStripLod, pieces::PacketForm::V9,
                                         pieces::topologicalRepData(pieces::cubeSymbols(7), 8, 24, {})));
  graph.setShapeBox({0, 0, 0.5F, 7, 14, 21.5F});
  graph.triStrips(5);
  return graph;
}

TEST(ContainerDamage, PartsKeepTheirShapesWhereTheContentsSwapIds) {
  const Bytes sound = twoParts().file();
  const Outcome expected(sound);
  ASSERT_THAT(expected.triangles, SizeIs(2));
  ASSERT_NE(expected.triangles[0], expected.triangles[1]);
  for (const auto& [a, b] : {std::pair{1, 2}, {0, 1}, {0, 2}}) {
    Bytes swapped = sound;
    swapIds(swapped, static_cast<std::size_t>(a), static_cast<std::size_t>(b));
    const Outcome outcome(swapped);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.triangles, expected.triangles) << a << b;
    EXPECT_THAT(outcome.losses, IsEmpty());
    EXPECT_THAT(outcome.notes, ElementsAre(HasSubstr("the header counts"), HasSubstr("the header counts")));
  }
}

// No shape uses the segment that is left over, and the shape that named it has none.
TEST(ContainerDamage, APlaceThatIsAnotherSegmentsGivesNoShapeItsGeometry) {
  Bytes bytes = twoParts().file();
  setNumber(bytes, kEntries + 2 * kEntryBytes + 16, static_cast<std::uint32_t>(placeOf(bytes, 1)));
  const Outcome outcome(bytes);
  EXPECT_THAT(outcome.triangles, SizeIs(1));
  EXPECT_THAT(outcome.losses, ElementsAre(HasSubstr("right: ")));
  EXPECT_THAT(outcome.notes, SizeIs(1));
}

TEST(ContainerDamage, LengthsOfAStoredSceneGraphDoNotCostTheModel) {
  const Bytes sound = twoParts().file();
  const Outcome expected(sound);
  const std::size_t header = placeOf(sound, 0);
  for (const std::uint32_t missing : {1U, 2U, 3U, 8U, 100U}) {
    for (const int where : {1, 2, 3}) {  // in contents and header, in the prefix, in all
      Bytes bytes = sound;
      const auto shorten = [&](std::size_t at) { setNumber(bytes, at, numberAt(bytes, at) - missing); };
      if ((where & 1) != 0) {
        shorten(kEntries + kLengthInEntry);
        shorten(header + kLengthInHeader);
      }
      if ((where & 2) != 0) shorten(header + 24 + 4);
      const Outcome outcome(bytes);
      EXPECT_EQ(outcome.error, "");
      EXPECT_EQ(outcome.triangles, expected.triangles) << missing << " " << where;
      EXPECT_THAT(outcome.losses, IsEmpty());
    }
  }
  for (const bool everywhere : {false, true}) {
    Bytes bytes = sound;
    setNumber(bytes, header + 24 + 4, 0);
    if (everywhere) {
      setNumber(bytes, kEntries + kLengthInEntry, 0);
      setNumber(bytes, header + kLengthInHeader, 0);
    }
    const Outcome outcome(bytes);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.triangles, expected.triangles);
    EXPECT_THAT(outcome.losses, IsEmpty());
  }
}

TEST(ContainerDamage, ASceneGraphWhoseChecksumIsCutOffIsNoted) {
  Bytes packed = pieces::zlibOf(twoParts().segment());
  packed.pop_back();
  const Bytes data = pieces::ByteBuilder()
                         .u32(2)
                         .u32(static_cast<std::uint32_t>(packed.size()) + 1)
                         .u8(2)
                         .bytes(packed)
                         .result();
  const Outcome outcome(pieces::container("9.5", {{pieces::kSegmentId, 1, data}}));
  EXPECT_EQ(outcome.error, "");
  EXPECT_THAT(outcome.notes, ElementsAre(AllOf(HasSubstr("machine.jt"), HasSubstr("checksum"),
                                               HasSubstr(guidOf(pieces::kSegmentId).text()))));
}

TEST(ContainerDamage, AHeaderThatNamesAShapeAsTheSceneGraphIsNoted) {
  Bytes bytes = twoParts().file();
  const Outcome expected(bytes);
  std::memcpy(&bytes[kEntries - 4 - 16], &bytes[kEntries + kEntryBytes], 16);
  const Outcome outcome(bytes);
  EXPECT_EQ(outcome.error, "");
  EXPECT_EQ(outcome.triangles, expected.triangles);
  EXPECT_THAT(outcome.notes, ElementsAre(HasSubstr("that which the header names cannot be read")));
}

TEST(ContainerDamage, AtomsWithOneIdAreTold) {
  const GuidValue rival{1, 2, 3, {}};
  GraphBuilder graph;
  graph.rivalAtoms(rival);
  graph.partition(0, {1}).name("machine");
  graph.part(1, {2}).name("part");
  graph.triStrips(2).lateLoaded("JT_LLPROP_METADATA", {9, 9, 9, {}}, 4);
  const Outcome outcome(graph.file());
  EXPECT_THAT(outcome.triangles, SizeIs(1));
  EXPECT_THAT(outcome.losses, ElementsAre(AllOf(HasSubstr("part: "), HasSubstr(guidOf(rival).text()))));
  EXPECT_THAT(outcome.notes, ElementsAre(HasSubstr("2 property atoms have the id of another one")));
}

TEST(ContainerDamage, GeometryThatNobodyUsesIsTold) {
  GraphBuilder graph = partOf({2});
  graph.triStrips(2);
  graph.lateSegment({1, 1, 1, {}}, 7, {});
  graph.lateSegment({2, 2, 2, {}}, 17, {});
  graph.lateSegment({3, 3, 3, {}}, 4, {});   // no geometry
  graph.lateSegment({4, 4, 4, {}}, 18, {});  // a wireframe
  const Outcome outcome(graph.file());
  EXPECT_THAT(outcome.losses, ElementsAre(AllOf(HasSubstr("2 geometry segments are not used"),
                                                HasSubstr(guidOf(GuidValue{1, 1, 1, {}}).text()),
                                                HasSubstr(guidOf(GuidValue{2, 2, 2, {}}).text()))));
}

TEST(ContainerDamage, AShapeSegmentOfWhatIsNoShapeIsToldWithItsName) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("machine");
  graph.part(1, {2}).name("wheel").lateLoaded("JT_LLPROP_SHAPEIMPL", {1, 1, 1, {}}, 7);
  graph.triStrips(2);
  graph.emptyTriStrips(3).name("stray");
  graph.lateSegment({1, 1, 1, {}}, 7, {});
  const Outcome outcome(graph.file());
  EXPECT_THAT(outcome.losses, ::testing::Contains(AllOf(HasSubstr("1 geometry segment is not used"),
                                                        HasSubstr("\"wheel\""))));
}

// All of it is left out of the scene on purpose.
TEST(ContainerDamage, CoarserLevelsHiddenPartsAndAlternativesAreNotUnused) {
  const GuidValue exact{1, 1, 1, {}};
  GraphBuilder graph;
  graph.partition(0, {1}).name("machine");
  graph.metaData(1, {2, 3, 10});
  graph.part(2, {4}).name("wheel").lateLoaded("JT_LLPROP_XTBREP", exact, 17);
  graph.rangeLod(4, {5, 6});
  graph.triStrips(5);
  graph.triStrips(6);
  graph.part(3, {7}).name("hidden").flags(1);
  graph.triStrips(7);
  graph.switchNode(10, {8, 9}, 0);
  graph.part(8, {11}).name("shown");
  graph.part(9, {12}).name("not selected");
  graph.triStrips(11);
  graph.triStrips(12);
  graph.lateSegment(exact, 17, {});
  EXPECT_THAT(Outcome(graph.file()).losses, IsEmpty());
}

TEST(ContainerDamage, WhatTheEndOfTheFileCutsOffIsNotedThoughNobodyNeedsIt) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("machine");
  graph.part(1, {4}).name("wheel");
  graph.rangeLod(4, {5, 6});
  graph.triStrips(5);
  graph.triStrips(6);
  Bytes bytes = graph.file();
  EXPECT_THAT(Outcome(bytes).notes, IsEmpty());
  const std::size_t last = placeOf(bytes, 2);
  for (const std::size_t size : {bytes.size() - 50, last + 3, last}) {
    const Outcome outcome(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)));
    EXPECT_THAT(outcome.triangles, SizeIs(1)) << size;
    EXPECT_THAT(outcome.losses, IsEmpty()) << size;
    EXPECT_THAT(outcome.notes, ElementsAre(AllOf(HasSubstr("the file is cut off: 1 of 3 segments"),
                                                 HasSubstr(guidOf(graph.shapeSegment(6)).text()))));
  }
}

}  // namespace
