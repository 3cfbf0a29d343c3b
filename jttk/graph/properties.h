// Property atoms and the property table: the second and third section of a scene graph segment.
#pragma once

#include "jttk/file/elements.h"
#include "jttk/graph/scene_graph.h"

namespace jttk {

// Property keys that the toolkit acts on.
inline constexpr std::string_view kNameKey = "JT_PROP_NAME";
inline constexpr std::string_view kUnitsKey = "JT_PROP_MEASUREMENT_UNITS";
inline constexpr std::string_view kXtBrepKey = "JT_LLPROP_XTBREP";
inline constexpr std::string_view kPmiKey = "JT_LLPROP_PMI";
inline constexpr std::string_view kShapeKey = "JT_LLPROP_SHAPEIMPL";

// An atom that nodes may refer to. Object references are known by id only.
struct Atom {
  enum class Kind : std::uint8_t { Text, Number, Segment, Other };  // a date counts as a number
  std::int32_t id = 0;
  Kind kind = Kind::Other;
  std::uint32_t text = kNone;  // of SceneGraph::strings; numbers and dates as property_text.h prints them
  Guid segment;
  std::int32_t segment_type = 0;
  Guid rival;  // the segment of another atom with the same id
};

// Reads the atoms up to the end-of-elements mark, sorted by id. What cannot be read goes to the graph's
// damage list; numbers, which nothing of the geometry depends on, to its notes.
std::vector<Atom> readAtoms(ByteReader& reader, Version version, SceneGraph& graph);

// Reads the table and assigns names, units, late loaded segments and other texts to the nodes. `node_by_id`
// is sorted by id.
void readPropertyTable(ByteReader& reader, const std::vector<Atom>& atoms,
                       const std::vector<std::pair<std::int32_t, std::uint32_t>>& node_by_id,
                       SceneGraph& graph);

}  // namespace jttk
