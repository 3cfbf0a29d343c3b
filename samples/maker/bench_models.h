// Large products for benchmarks. Shapes are made one at a time while a file is written (writeJtFile), so
// memory holds one shape of the product only.
#pragma once

#include <cstdint>

#include "samples/maker/product.h"

namespace loftbay::maker {

// A closed surface (a torus with waves) of about `triangles` triangles with a normal per vertex.
Shape wavyTorus(std::uint64_t triangles, std::uint32_t variant);

// One part of about `triangles` triangles, one level.
Product singlePart(std::uint64_t triangles = 2'000'000);

// `parts` different parts of about `triangles_each` triangles in assemblies of 50, each part with a material
// and two levels.
Product manyParts(std::uint32_t parts = 5'000, std::uint64_t triangles_each = 400);

// `distinct` parts of about `triangles_each` triangles, placed `placed` times in all, one after another, side
// by side in one assembly.
Product repeatedParts(std::uint32_t placed = 850, std::uint32_t distinct = 100,
                      std::uint64_t triangles_each = 1'400);

// About `triangles` triangles in parts of 100,000, each part used once.
Product largeModel(std::uint64_t triangles = 20'000'000);

}  // namespace loftbay::maker
