// How exact geometry is turned into triangles: what the caller gave, made safe.
#pragma once

namespace jttk {

struct TessValues {
  float chord_percent = 0.08F;    // greatest distance from the surface, in percent of the part's diagonal
  float minimum_edge_length = 0;  // in model units, 0 = none
  bool operator==(const TessValues&) const = default;
};

// The values for parts that nobody gives values for. Process-wide; set by the toolkit's interface.
TessValues& currentTessValues();

}  // namespace jttk
