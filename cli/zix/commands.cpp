// The table of commands.
#include "cli/zix/command.h"

namespace loftbay::cli {

std::span<const Command> commands() {
  static const std::vector<Command> table = {
      {"info",
       {"F"},
       "What the scene holds: counts, bounds, views, meshes.",
       {{"--json", "", "One JSON document instead of text."}},
       runInfo},
      {"tree", {"F"}, "The scene's tree, one object per line.", {}, runTree},
      {"validate", {"F"}, "Checks every byte of the file. Code 1 when it is damaged.", {}, runValidate},
      {"diff",
       {"A", "B"},
       "The first differences in tree, placements, arrays and materials. Code 1 when there are any.",
       {{"--tolerance", "X",
         "Numbers that differ by at most X count as equal; without it, only equal bits do."}},
       runDiff},
      {"export",
       {"F", "OUT"},
       "Writes the scene in another format, by OUT's extension: .glb (tree and materials), .stl (binary) or "
       ".obj (both in world coordinates).",
       {},
       runExport},
      {"render",
       {"F", "OUT.png"},
       "A picture of the scene.",
       {{"--size", "WxH", "Width and height in pixels; 1024x768 unless stated."},
        {"--view", "NAME",
         "One of the scene's views: front, back, left, right, top, bottom, iso (the default)."},
        {"--edges", "", "Draws the edges of surfaces dark."},
        {"--flat", "", "Every triangle in one shade."}},
       runRender},
  };
  return table;
}

}  // namespace loftbay::cli
