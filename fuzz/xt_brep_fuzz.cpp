// The unpacked data of an XT B-Rep segment (little-endian wrapper), read and tessellated coarsely. Corpus:
// fuzz/corpus/xt_brep_fuzz, written by brep_seeds. Every index of the result must be in range.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "jttk/brep/read_xt_brep.h"
#include "jttk/brep/tessellate.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  jttk::Segment segment;
  segment.data = std::as_bytes(std::span(data, size));
  const auto bodies = jttk::brep::readXtBrep(segment, jttk::ByteOrder::Little);
  if (!bodies) return 0;
  jttk::brep::TessellationOptions options;
  options.chord_tolerance_percent = 1;
  const auto made = jttk::brep::tessellate(*bodies, options);
  for (const auto& body : made.bodies) {
    for (const std::uint32_t p : body.shape.corner_positions) {
      if (p >= body.shape.positions.size() / 3) std::abort();
    }
    for (const std::uint32_t r : body.shape.corner_records) {
      if (r >= body.shape.normals.size() / 3) std::abort();
    }
  }
  return 0;
}
