// From a model to its mesh, and what tests expect of a closed one.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "jttk/brep/tessellate.h"
#include "tests/jttk_brep/mesh_measures.h"
#include "tests/jttk_brep/read_bodies.h"

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

// The greatest value of `distance` at points all over the triangles, in mm.
template <typename Distance>
double farthest(const ShapeGeometry& shape, const Distance& distance) {
  double worst = 0;
  for (std::size_t t = 0; t + 1 < shape.primitive_starts.size(); ++t) {
    Vec3 p[3];
    for (std::size_t k = 0; k < 3; ++k) {
      const std::uint32_t q = shape.corner_positions[shape.primitive_starts[t] + k];
      p[k] = {double{shape.positions[3 * q]}, double{shape.positions[3 * q + 1]},
              double{shape.positions[3 * q + 2]}};
    }
    for (int i = 0; i <= 6; ++i) {
      for (int k = 0; i + k <= 6; ++k) {
        worst = std::max(worst, distance((p[0] * i + p[1] * k + p[2] * (6 - i - k)) * (1.0 / 6)));
      }
    }
  }
  return worst;
}

}  // namespace jttk::brep
