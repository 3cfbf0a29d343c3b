// Small files that stand for more than any machine has: what the limits of a conversion are made for.
#pragma once

#include <string>
#include <vector>

#include "tests/jttk/support/jt_graph.h"

namespace jttk::testing {

// Thirty levels of assemblies, each with two instances of the next: 2^30 places.
GraphBuilder instancesOfInstances();

// A node with this many children, which are one and the same part with a shape.
GraphBuilder equalChildren(std::size_t count);

// Files that all refer to each other: file k of `count`, with the name that the others know it by.
GraphBuilder friendOfAll(std::size_t k, std::size_t count);
std::string friendName(std::size_t k);

// Parts whose exact geometry is one bumpy face many times over; each part states its unit in another way.
GraphBuilder costlyParts(std::size_t parts, int faces);

// Parts that all have the same segment of exact geometry, which unpacks to a lot of zeros before it fails.
GraphBuilder failingSegment(std::size_t parts, std::size_t unpacked_bytes);

// One part with a shape, another with a segment that unpacks to this many zeros.
GraphBuilder packedZeros(std::size_t unpacked_bytes);

// The model of costlyParts, as the data of a segment.
Bytes bumpyFaces(int faces);

}  // namespace jttk::testing
