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
      {"export",
       {"F", "OUT"},
       "Writes the scene in another format, by OUT's extension: .stl (binary, world coordinates) or .obj.",
       {},
       runExport},
  };
  return table;
}

}  // namespace loftbay::cli
