// Other formats from a scene. All write whole elements only, leave out elements with a coordinate that is
// not finite, and state in the result how many they left out. In STL and OBJ lengths have the scene's own
// unit, which is the JT file's (usually millimetres); GLB is in metres.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "zix/reader.h"
#include "zix/up_axis.h"

namespace Orb::Zix {

struct ExportSummary {
  std::uint64_t written = 0;   // elements
  std::uint64_t left_out = 0;  // elements that are not whole or not finite
  bool unit_assumed = false;   // the scene states no unit whose length is known, and millimetres were taken
};

using ExportResult = tl::expected<ExportSummary, std::string>;

// Binary STL in world coordinates, one record per triangle in file order. Lines and points are not written.
ExportResult exportStl(const SceneFile& scene, std::string_view program_path);

// Wavefront OBJ in world coordinates: one `o` per mesh, with its shape's name; triangles as `f`, polylines
// as `l`, points as `p`.
ExportResult exportObj(const SceneFile& scene, std::string_view program_path);

// Binary glTF 2.0 with tree, names, placements and materials (see docs/zix-tool.md for the mapping). Fails
// where the result would pass 4 GiB, which is the format's limit.
struct GlbOptions {
  std::optional<double> unit_metres = {};  // length of the scene's unit; else the scene's own, else 0.001
  UpAxis up = UpAxis::Z;                   // of the scene
  bool as_is = false;                      // no node that brings the scene to metres and y up
};
ExportResult exportGlb(const SceneFile& scene, std::string_view program_path, const GlbOptions& options = {});

}  // namespace Orb::Zix
