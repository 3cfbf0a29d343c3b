// What the benchmarks work on: rings (closed tori) of a wanted number of triangles. With LOFTBAY_BENCH_QUICK
// set all sizes shrink, for the run that only checks that every benchmark works.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "samples/maker/byte_writer.h"
#include "samples/maker/format.h"
#include "samples/maker/product.h"

namespace loftbay::bench {

bool quick();

// A ring of about `triangles` triangles with smooth normals.
maker::Shape ring(std::size_t triangles);

// The ring as one shape segment, as in a file (header included).
maker::Bytes ringSegment(std::size_t triangles, const maker::Options& options);

// A product of one part, or of an assembly of `parts` different parts, each a ring.
maker::Product oneRing(std::size_t triangles);
maker::Product manyRings(std::size_t parts, std::size_t triangles_each);

// Writes a product into the benchmarks' temporary folder once; returns its path.
std::string modelFile(const std::string& name, const maker::Product& product, const maker::Options& options);

// A path in the benchmarks' temporary folder, which is removed at exit.
std::string temporaryPath(const std::string& name);

}  // namespace loftbay::bench
