#include "samples/maker/bench_models.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "samples/maker/solids.h"

namespace loftbay::maker {

Shape wavyTorus(std::uint64_t triangles, std::uint32_t variant) {
  const auto side = static_cast<std::uint32_t>(std::max(3.0, std::round(std::sqrt(double(triangles) / 2))));
  const double waves = 3 + variant % 7;
  const double height = 4 + variant % 5;
  Shape shape;
  shape.positions.reserve(std::size_t{side} * side);
  shape.normals.reserve(std::size_t{side} * side);
  const double step = 2 * std::numbers::pi / side;
  for (std::uint32_t i = 0; i < side; ++i) {
    const double u = step * i;
    for (std::uint32_t k = 0; k < side; ++k) {
      const double v = step * k;
      const double small = 30 + height * std::cos(waves * u) * std::cos(2 * v);
      const double ring = 100 + small * std::cos(v);
      shape.positions.push_back({static_cast<float>(ring * std::cos(u)),
                                 static_cast<float>(ring * std::sin(u)),
                                 static_cast<float>(small * std::sin(v))});
      // The normal of the torus without waves; near enough for shading.
      shape.normals.push_back({static_cast<float>(std::cos(v) * std::cos(u)),
                               static_cast<float>(std::cos(v) * std::sin(u)),
                               static_cast<float>(std::sin(v))});
    }
  }
  const std::size_t count = 2 * std::size_t{side} * side;
  shape.corner_positions.reserve(3 * count);
  shape.primitive_starts.reserve(count + 1);
  const auto at = [&](std::uint32_t i, std::uint32_t k) { return i % side * side + k % side; };
  for (std::uint32_t i = 0; i < side; ++i) {
    for (std::uint32_t k = 0; k < side; ++k) {
      shape.addQuad(at(i, k), at(i + 1, k), at(i + 1, k + 1), at(i, k + 1));
    }
  }
  shape.corner_records = shape.corner_positions;
  return shape;
}

namespace {

Material paint(std::uint32_t variant) {
  Material m;
  m.diffuse = {0.2F + 0.1F * float(variant % 8), 0.2F + 0.1F * float(variant / 8 % 8), 0.5F, 1};
  return m;
}

Part wavyPart(std::uint64_t triangles, std::uint32_t variant, bool two_levels) {
  Part part;
  part.name = "Part " + std::to_string(variant + 1);
  part.units = "Millimeters";
  part.material = paint(variant);
  part.lods.push_back({ShapeSource([=] { return wavyTorus(triangles, variant); })});
  if (two_levels) part.lods.push_back({ShapeSource([=] { return wavyTorus(triangles / 4, variant); })});
  return part;
}

constexpr double kPitch = 300;  // from part to part

}  // namespace

Product singlePart(std::uint64_t triangles) {
  Product product;
  product.name = "single part";
  product.parts.push_back(wavyPart(triangles, 0, false));
  product.root = partRef(0);
  return product;
}

Product manyParts(std::uint32_t parts, std::uint64_t triangles_each) {
  constexpr std::uint32_t kPerAssembly = 50;
  Product product;
  product.name = "many parts";
  Assembly root{"many parts", "Millimeters", std::nullopt, {}};
  for (std::uint32_t i = 0; i < parts; ++i) {
    if (i % kPerAssembly == 0) {
      const std::uint32_t row = i / kPerAssembly;
      product.assemblies.push_back({"Row " + std::to_string(row + 1), "Millimeters", std::nullopt, {}});
      root.children.push_back({assemblyRef(row), product.assemblies.back().name,
                               translation(0, kPitch * double(row), 0), std::nullopt, false});
    }
    product.parts.push_back(wavyPart(triangles_each, i, true));
    product.assemblies.back().children.push_back({partRef(i), product.parts.back().name,
                                                  translation(kPitch * double(i % kPerAssembly), 0, 0),
                                                  std::nullopt, false});
  }
  product.assemblies.push_back(std::move(root));
  product.root = assemblyRef(product.assemblies.size() - 1);
  return product;
}

Product repeatedParts(std::uint32_t placed, std::uint32_t distinct, std::uint64_t triangles_each) {
  constexpr std::uint32_t kPerRow = 30;
  Product product;
  product.name = "repeated parts";
  for (std::uint32_t i = 0; i < distinct; ++i) {
    product.parts.push_back(wavyPart(triangles_each, i, false));
    // Each lacks other triangles, so that no two have an array in common.
    product.parts.back().lods[0] = {ShapeSource([=] {
      Shape shape = wavyTorus(triangles_each, i);
      const std::size_t kept = shape.primitiveCount() - i;
      shape.primitive_starts.resize(kept + 1);
      shape.corner_positions.resize(3 * kept);
      shape.corner_records.resize(3 * kept);
      return shape;
    })};
  }
  Assembly root{"repeated parts", "Millimeters", std::nullopt, {}};
  for (std::uint32_t i = 0; i < placed; ++i) {
    const std::uint32_t part = i % distinct;
    root.children.push_back({partRef(part), product.parts[part].name,
                             translation(kPitch * double(i % kPerRow), kPitch * double(i / kPerRow), 0),
                             std::nullopt, false});
  }
  product.assemblies.push_back(std::move(root));
  product.root = assemblyRef(0);
  return product;
}

Product largeModel(std::uint64_t triangles) {
  constexpr std::uint64_t kPerPart = 100'000;
  const auto parts = static_cast<std::uint32_t>(std::max<std::uint64_t>(1, triangles / kPerPart));
  Product product;
  product.name = "large model";
  Assembly root{"large model", "Millimeters", std::nullopt, {}};
  for (std::uint32_t i = 0; i < parts; ++i) {
    product.parts.push_back(wavyPart(triangles / parts, i, false));
    const std::uint32_t column = i % 20;
    const std::uint32_t row = i / 20;
    root.children.push_back({partRef(i), product.parts.back().name,
                             translation(kPitch * double(column), kPitch * double(row), 0), std::nullopt,
                             false});
  }
  product.assemblies.push_back(std::move(root));
  product.root = assemblyRef(0);
  return product;
}

}  // namespace loftbay::maker
