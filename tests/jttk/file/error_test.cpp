#include "jttk/file/error.h"

#include <gtest/gtest.h>

namespace {

using jttk::Error;
using jttk::makeError;
using jttk::OffsetIn;
using jttk::SegmentType;

constexpr jttk::Guid kShapeId{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
const Error::InSegment kShapeSegment{kShapeId, SegmentType::ShapeLod0};

TEST(Error, SaysWhatAndWhere) {
  EXPECT_EQ(makeError("the stream ends", 12).text(), "the stream ends (at byte 12)");
  EXPECT_EQ(makeError("the stream ends", 0).text(), "the stream ends (at byte 0)");
  EXPECT_EQ(makeError("cannot be opened").text(), "cannot be opened");
  EXPECT_EQ(makeError("7 values", 12).in("coordinates").in("arrays").text(),
            "arrays: coordinates: 7 values (at byte 12)");
}

TEST(Error, KeepsItsElementAndSegmentAsData) {
  const Error error = makeError("7 values", 12).ofElement("part node element 3").ofElement("scene graph");
  const Error placed = error.in("coordinates").ofSegment(kShapeSegment, OffsetIn::Inflated);
  EXPECT_EQ(placed.what, "coordinates: 7 values");
  EXPECT_EQ(placed.element, "scene graph: part node element 3");
  ASSERT_TRUE(placed.segment.has_value());
  EXPECT_EQ(placed.segment->id, kShapeId);
  EXPECT_EQ(placed.segment->type, SegmentType::ShapeLod0);
  EXPECT_EQ(placed.offset, 12U);
  EXPECT_EQ(placed.offset_in, OffsetIn::Inflated);
  const std::string inside = "scene graph: part node element 3: coordinates: 7 values";
  const std::string segment = "segment " + kShapeId.text() + ": ";
  EXPECT_EQ(placed.text(), segment + inside + " (at byte 12 of the inflated data)");
  EXPECT_EQ(placed.textInSegment(), inside + " (at byte 12 of the inflated data)");
  EXPECT_EQ(placed.textWithoutOffset(), segment + inside);
}

TEST(Error, StaysInTheSegmentThatItWasPutInFirst) {
  const Error::InSegment other{{9, 9, 9, {}}, SegmentType::SceneGraph};
  const Error error = makeError("7 values", 12).ofSegment(kShapeSegment, OffsetIn::File);
  EXPECT_EQ(error.ofSegment(other, OffsetIn::Inflated).text(), error.text());
}

TEST(Error, AboutNoByteGetsNoneFromItsSegment) {
  const Error error = makeError("is not listed").ofSegment(kShapeSegment, OffsetIn::Inflated);
  EXPECT_EQ(error.offset_in, OffsetIn::Nothing);
  EXPECT_EQ(error.text(), "segment " + kShapeId.text() + ": is not listed");
}

TEST(Error, IsOverBudgetWhateverIsPutInFront) {
  Error error = makeError("too much", 12);
  error.is_over_budget = true;
  EXPECT_TRUE(error.in("a").ofElement("b").ofSegment(kShapeSegment, OffsetIn::File).is_over_budget);
}

}  // namespace
