// Writes a small JT file with triangles, lines and exact geometry: few enough allocations to let each of them
// fail.
#include <cstdio>
#include <exception>

#include "samples/maker/product.h"
#include "samples/maker/write_jt.h"
#include "samples/maker/xt_model.h"

namespace {

using namespace loftbay::maker;

// A round disc: two planes, a cylinder, and circles without vertices between them.
ExactGeometry disc() {
  constexpr Point kX{1, 0, 0};
  constexpr Point kZ{0, 0, 1};
  constexpr double kRadius = 0.2;
  constexpr double kTop = 0.1;
  XtModel model;
  const int low = model.edge(model.circle({}, kZ, kX, kRadius), -1, -1);
  const int high = model.edge(model.circle({0, 0, kTop}, kZ, kX, kRadius), -1, -1);
  model.face(model.plane({}, -kZ, kX), false, {{{low, false}}});
  model.face(model.cylinder({}, kZ, kX, kRadius), false, {{{low, true}}, {{high, false}}});
  model.face(model.plane({0, 0, kTop}, kZ, kX), false, {{{high, true}}});
  model.finish();
  constexpr auto kReach = static_cast<float>(kRadius);
  return {model.stream(), {-kReach, -kReach, 0}, {kReach, kReach, static_cast<float>(kTop)}};
}

Product smallModel() {
  Shape facet;
  facet.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  facet.addQuad(0, 1, 2, 3);
  Shape lines;
  lines.kind = ShapeKind::Polylines;
  lines.positions = {{0, 0, 1}, {1, 0, 1}, {1, 1, 1}};
  lines.corner_positions = {0, 1, 2};
  lines.primitive_starts = {0, 3};
  Product product;
  product.name = "Small";
  product.parts.push_back({"Plate", "Meters", Material{}, {{facet}}, {{"Maker::", "Loftbay"}}});
  product.parts.push_back({"Lines", "Meters", Material{}, {{lines}}, {}});
  product.parts.push_back({"Disc", "Meters", Material{}, {}, {}});
  product.parts.back().exact = disc();
  Assembly root{"Small", "Meters", std::nullopt, {}};
  for (std::size_t i = 0; i < product.parts.size(); ++i) {
    root.children.push_back({partRef(i), "", std::nullopt, std::nullopt, true});
  }
  product.assemblies.push_back(std::move(root));
  product.root = assemblyRef(0);
  return product;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  try {
    writeJtFile(smallModel(), {}, arguments[1]);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "make_small_model: %s\n", error.what());
    return 1;
  }
}
