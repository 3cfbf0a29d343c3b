// Small files that would need more than any machine has: the limits of a conversion are meant for these.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "samples/maker/pieces/graph_builder.h"

namespace loftbay::maker::pieces {

// Thirty levels of assemblies, each with two instances of the next: 2^30 occurrences.
GraphBuilder instancesOfInstances();

// A node with this many children, all the same part with a shape.
GraphBuilder equalChildren(std::size_t count);

// Files that all refer to each other: file k of `count`, with the name that the others know it by.
GraphBuilder friendOfAll(std::size_t k, std::size_t count);
std::string friendName(std::size_t k);

// Parts whose exact geometry is one bumpy face many times over; each part spells its unit differently.
GraphBuilder costlyParts(std::size_t parts, int faces);

// Parts that all have the same segment of exact geometry, which unpacks to a lot of zeros before it fails.
GraphBuilder failingSegment(std::size_t parts, std::size_t unpacked_bytes);

// One part with a shape, another with a segment that unpacks to this many zeros.
GraphBuilder packedZeros(std::size_t unpacked_bytes);

// One shape of one part, whose packets need next to no bits, in the coding of JT 9 or 10: tetrahedra, or
// polygons that are as crooked as can be, each with its back.
GraphBuilder tetrahedra(const std::string& version, std::uint32_t count);
GraphBuilder largePolygons(const std::string& version, std::uint32_t corners, std::uint32_t pairs);
// The same in the coding of 8.x: a strip whose corners are all the same or all different.
GraphBuilder longStrip(std::uint32_t corners, bool all_different);

// A large strip, costly exact geometry, packed data that fail, and a huge number of occurrences, all in one
// file.
GraphBuilder everythingAtOnce();

// Bytes without a meaning behind a file, so that it may cost as much as one of `size` bytes.
Bytes filledUp(Bytes file, std::size_t size = 9'990);

// Plane faces over and over, all within one and the same edge of many bends.
GraphBuilder facesOfOneEdge(int bends, int faces);
// The model of costlyParts, as the data of a segment.
Bytes bumpyFaces(int faces);

}  // namespace loftbay::maker::pieces
