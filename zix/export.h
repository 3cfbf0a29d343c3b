// Other formats from a scene. All write whole elements only, leave out elements with a coordinate that is
// not finite, and state in the result how many they left out. Lengths have the scene's own unit, which is
// the JT file's (usually millimetres); none of the formats converts it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "zix/reader.h"

namespace Orb::Zix {

struct ExportSummary {
  std::uint64_t written = 0;   // elements
  std::uint64_t left_out = 0;  // elements that are not whole or not finite
};

using ExportResult = tl::expected<ExportSummary, std::string>;

// Binary STL in world coordinates, one record per triangle in file order. Lines and points are not written.
ExportResult exportStl(const SceneFile& scene, std::string_view program_path);

// Wavefront OBJ in world coordinates: one `o` per mesh, with its shape's name; triangles as `f`, polylines
// as `l`, points as `p`.
ExportResult exportObj(const SceneFile& scene, std::string_view program_path);

// Binary glTF 2.0 with tree, names, placements and materials (see docs/zix-tool.md for the mapping). Fails
// where the result would pass 4 GiB, which is the format's limit.
ExportResult exportGlb(const SceneFile& scene, std::string_view program_path);

}  // namespace Orb::Zix
