// brep_seeds CORPUS_FOLDER: writes the corpus of xt_brep_fuzz from the tests' models, and what an earlier
// version stumbled over, as far as a writer can make it.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tests/jttk/brep/drilled_models.h"
#include "tests/jttk/brep/models.h"

namespace {

void saveFinished(const std::filesystem::path& folder, const char* name, const jttk::brep::XtModel& model) {
  const auto bytes = jttk::brep::segmentOf(model);
  std::ofstream file(folder / name, std::ios::binary);
  for (const std::byte b : bytes) file.put(static_cast<char>(b));
}

void save(const std::filesystem::path& folder, const char* name, jttk::brep::XtModel model) {
  model.finish();
  saveFinished(folder, name, model);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: brep_seeds CORPUS_FOLDER\n");
    return 2;
  }
  namespace models = jttk::brep::models;
  const std::filesystem::path folder = std::filesystem::path(argv[1]) / "xt_brep_fuzz";
  std::filesystem::create_directories(folder);
  save(folder, "box", models::box(0.03, 0.02, 0.01));
  save(folder, "cylinder", models::cylinder(0.01, 0.03, false));
  save(folder, "cylinder_seam", models::cylinder(0.01, 0.03, true));
  save(folder, "sphere", models::wholeSphere(0.01));
  save(folder, "sphere_cap", models::cutSphere(0.01, 0.004, true));
  save(folder, "torus", models::wholeTorus(0.02, 0.005));
  save(folder, "half_torus", models::halfTorus(0.02, 0.005));
  save(folder, "cone", models::cone(0.01, 0.02));
  save(folder, "plate", models::plateWithHoles(0.1, 0.03, 0.005, 0.008, 2));
  save(folder, "drilled", models::drilledCylinder(0.01, 0.03, 0.004));
  save(folder, "patch", models::splinePatch(0.02, 0.01));
  save(folder, "spindle", models::spunSpindle(0.01, 0.02));
  save(folder, "tolerant", models::tolerantCylinder(0.01, 0.03));
  save(folder, "rod", models::ellipticRod(0.02, 0.005, 0.01));
  save(folder, "spline_cylinder", models::splineCylinder(0.01, 0.03));
  using models::Round;
  saveFinished(folder, "drilled_cone_seams", models::drilled(Round::Cone, 0.002, true).model);
  saveFinished(folder, "drilled_sphere_seams", models::drilled(Round::Sphere, 0.002, true).model);
  saveFinished(folder, "drilled_torus_seams", models::drilled(Round::Torus, 0.002, true).model);
  saveFinished(folder, "perforated", models::perforatedCylinder(0.01, 0.04, 0.002, 2, 8).model);
  return 0;
}
