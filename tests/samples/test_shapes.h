// Meshes with every property that matters to the shape coders, and the comparison of what went in with what
// came out.
#pragma once

#include <random>
#include <string>
#include <vector>

#include "jttk/codec/shape_lod.h"
#include "samples/maker/product.h"

namespace loftbay::maker::test {

// 0 .. limit - 1.
inline std::uint32_t below(std::mt19937& random, std::uint32_t limit) {
  return static_cast<std::uint32_t>(random() % limit);
}

Shape openGrid(std::uint32_t columns, std::uint32_t rows);
Shape torus(std::uint32_t around, std::uint32_t across);
// Two cones base to base: two vertices of degree `sides`.
Shape doubleCone(std::uint32_t sides);
// Many separate tetrahedra.
Shape tetrahedra(std::uint32_t count);
// Two sheets that touch in one position, and three that share an edge.
Shape touchingSheets();
// Random triangles over few positions: edges used once, twice, often; every kind of fan.
Shape triangleSoup(std::mt19937& random, std::uint32_t positions, std::uint32_t triangles);
// Prism walls and caps as polygons of 3 to `sides` corners.
Shape prism(std::uint32_t sides);
// A plate with a grid of holes: many covers, genus as high as there are holes.
Shape sieve(std::uint32_t columns, std::uint32_t rows);

// One normal (and colour, texture coordinate, flag) per corner group at random, so that records change inside
// the rings of vertices.
void scatterRecords(Shape& shape, std::mt19937& random, bool normals, bool colors, bool texture = false,
                    bool flags = false);

// Every primitive as one text: its corners with the bits of all values, from the smallest rotation on (for
// lines: as they run). Sorted. Degenerate triangles are left out.
std::vector<std::string> canonical(const Shape& shape);
std::vector<std::string> canonical(const jttk::ShapeGeometry& geometry, bool texture = false);

}  // namespace loftbay::maker::test
