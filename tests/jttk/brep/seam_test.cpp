// Faces that wind round their surface, with holes where they are cut open: every one has to become a closed
// mesh.
#include <gtest/gtest.h>

#include <array>
#include <tuple>

#include "tests/jttk/brep/drilled_models.h"
#include "tests/jttk/brep/mesh_measures.h"
#include "tests/jttk/brep/read_bodies.h"

namespace jttk::brep {
namespace {

using models::Round;

MeshMeasures measuredMesh(const XtModel& model, double percent, double& chord) {
  const auto bodies = readBodies(model);
  EXPECT_TRUE(bodies) << bodies.error().text();
  if (!bodies) return {};
  TessellationOptions options;
  options.chord_tolerance_percent = percent;
  const TessellatedBodies made = tessellate(*bodies, options);
  for (const TessellationLoss& loss : made.losses)
    ADD_FAILURE() << "face " << loss.face << ": " << loss.reason;
  chord = made.chord_tolerance;
  return measure(made.bodies.at(0).shape);
}

void expectSolid(const models::Drilled& solid) {
  for (const double percent : {1.0, 0.08, 0.02}) {
    SCOPED_TRACE(testing::Message() << percent << " %");
    double chord = 0;
    const MeshMeasures m = measuredMesh(solid.model, percent, chord);
    EXPECT_GT(m.triangles, 0U);
    EXPECT_EQ(m.open_edges, 0U);
    EXPECT_EQ(m.bad_normals, 0U);
    EXPECT_EQ(m.against_normals, 0U);
    // All of the surface may be off by the chord at most.
    EXPECT_NEAR(m.volume, solid.volume, m.area * chord);
    if (percent < 0.1) {
      EXPECT_NEAR(m.volume, solid.volume, 0.005 * solid.volume);
    }
  }
}

class Seam : public testing::TestWithParam<std::tuple<Round, bool>> {};

TEST_P(Seam, MayBeAnywhereOnAWholeSurface) {
  const auto [kind, edges] = GetParam();
  expectSolid(models::drilled(kind, 0, edges));
}

TEST_P(Seam, MayBeCutByAHole) {
  const auto [kind, edges] = GetParam();
  for (const double radius : {0.0006, 0.002}) {
    SCOPED_TRACE(testing::Message() << "hole of " << radius);
    expectSolid(models::drilled(kind, radius, edges));
  }
}

std::string caseName(const testing::TestParamInfo<std::tuple<Round, bool>>& test) {
  const std::array<const char*, 4> names = {"Cylinder", "Cone", "Sphere", "Torus"};
  return std::string(names[static_cast<std::size_t>(std::get<0>(test.param))]) +
         (std::get<1>(test.param) ? "WithSeamEdges" : "WithoutSeamEdges");
}

INSTANTIATE_TEST_SUITE_P(Brep, Seam,
                         testing::Combine(testing::Values(Round::Cylinder, Round::Cone, Round::Sphere,
                                                          Round::Torus),
                                          testing::Bool()),
                         caseName);

TEST(PerforatedSide, IsCutOpenThroughItsHoles) {
  expectSolid(models::perforatedCylinder(0.01, 0.04, 0.0009, 5, 24));
}

}  // namespace
}  // namespace jttk::brep
