// From a model that a test wrote, or the bytes of its segment, to what the reader finds in them.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <utility>
#include <vector>

#include "jttk/brep/read_xt_brep.h"
#include "tests/jttk/brep/models.h"

namespace jttk::brep {

inline Result<Bodies> readBodies(std::vector<std::byte> data) {
  Segment segment;
  segment.unpacked = std::move(data);
  segment.data = segment.unpacked;
  return readXtBrep(segment, ByteOrder::Little);
}

// After finish().
inline Result<Bodies> readBodies(const XtModel& model) { return readBodies(segmentOf(model)); }

// The one surface: a face on it brings it into Bodies, whose loops do not matter then.
inline Bodies bodiesOf(XtModel& model, XtModel::Id surface) {
  model.face(surface, false, {});
  model.finish();
  const auto bodies = readBodies(model);
  EXPECT_TRUE(bodies) << bodies.error().text();
  return bodies ? *bodies : Bodies{};
}

}  // namespace jttk::brep
