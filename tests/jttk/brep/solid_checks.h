// From a model to its mesh, and what tests expect of a closed one.
#pragma once

#include <gtest/gtest.h>

#include <utility>

#include "jttk/brep/tessellate.h"
#include "tests/jttk/brep/mesh_measures.h"
#include "tests/jttk/brep/read_bodies.h"

namespace jttk::brep {

struct Outcome {
  Bodies bodies;
  TessellatedBodies made;
  MeshMeasures measures;  // of the first body
};

// After finish(). Losses are left to the caller.
inline Outcome tessellated(const XtModel& model, const TessellationOptions& options = {}) {
  Outcome outcome;
  const auto bodies = readBodies(model);
  EXPECT_TRUE(bodies) << bodies.error().text();
  if (!bodies) return outcome;
  outcome.bodies = *bodies;
  outcome.made = tessellate(outcome.bodies, options);
  EXPECT_EQ(outcome.made.bodies.size(), 1U);
  if (!outcome.made.bodies.empty()) outcome.measures = measure(outcome.made.bodies[0].shape);
  return outcome;
}

inline void expectNoLosses(const Outcome& outcome) {
  for (const TessellationLoss& loss : outcome.made.losses)
    ADD_FAILURE() << "face " << loss.face << ": " << loss.reason;
}

// Before finish(); nothing may be lost.
inline Outcome run(XtModel model, const TessellationOptions& options = {}) {
  model.finish();
  Outcome outcome = tessellated(model, options);
  expectNoLosses(outcome);
  return outcome;
}

inline void expectClosed(const MeshMeasures& measures) {
  EXPECT_GT(measures.triangles, 0U);
  EXPECT_EQ(measures.open_edges, 0U);
  EXPECT_EQ(measures.bad_normals, 0U);
  EXPECT_EQ(measures.against_normals, 0U);
}

// In mm; `share` is the allowed relative difference.
inline void expectClosed(const Outcome& outcome, double volume, double area, double share = 0.005) {
  expectClosed(outcome.measures);
  EXPECT_NEAR(outcome.measures.volume, volume, volume * share);
  EXPECT_NEAR(outcome.measures.area, area, area * share);
}

}  // namespace jttk::brep
