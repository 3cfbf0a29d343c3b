// The table of commands and options.
#include "cli/console.h"
#include "cli/zix/command.h"
#include "cli/zix/option_values.h"
#include "zix/format.h"
#include "zix/render.h"

namespace loftbay::cli {

namespace {

constexpr std::string_view kExitCodes =
    "Exit codes: 0 done (validate: no error, warnings allowed; diff: equal); 1 damaged, different or\n"
    "failed; 2 wrong usage. Results go to standard output, everything else to standard error.";

constexpr RunCommand kRunners[] = {runInfo, runTree, runValidate, runDiff, runExport, runRender, runView};

Command command(std::string_view name, std::string_view called, std::vector<Operand> operands,
                std::string_view about) {
  const std::size_t count = operands.size();
  return {.name = name,
          .called = called,
          .about = about,
          .operands = std::move(operands),
          .least_operands = count,
          .most_operands = count,
          .footer = kExitCodes};
}

// In the order of kRunners.
std::vector<Command> allCommands() {
  return {
      command("info", "zix info", {{"F"}}, "What the scene holds: counts, bounds, views, meshes."),
      command("tree", "zix tree", {{"F"}}, "The scene's tree, one object per line."),
      command("validate", "zix validate", {{"F"}},
              "Checks every byte of the file. Code 1 when it is damaged."),
      command("diff", "zix diff", {{"A"}, {"B"}},
              "The first differences in tree, placements, arrays and materials. Code 1 when there are any."),
      command(
          "export", "zix export", {{"F"}, {"OUT"}},
          "Writes the scene in another format, by OUT's extension: .glb (tree and materials), .stl (binary) "
          "or .obj (both in world coordinates), .html (a page that shows it in any browser, without a "
          "network)."),
      command("render", "zix render", {{"F"}, {"OUT.png"}}, "A picture of the scene."),
      command("view", "zix view", {{"F"}},
              "Opens the scene in the browser: writes the page into a temporary folder and says where.")};
}

std::string_view sizeRule() {
  static const std::string text =
      "WIDTHxHEIGHT in pixels, each from 1 to " + std::to_string(Orb::Zix::kLargestPicture);
  return text;
}

std::vector<Option> allOptions() {
  std::vector<Option> options = {
      {
          .name = "--json",
          .help = "one JSON document instead of text",
          .commands = {"info", "tree", "validate"},
      },
      {
          .name = "--properties",
          .help = "the properties of each object below it",
          .commands = {"tree"},
      },
      {
          .name = "--force",
          .help = "goes on with arrays whose checksums are wrong, and says so",
          .commands = {"diff", "export", "render", "view"},
      },
      {
          .name = "--tolerance",
          .help = "numbers that differ by at most X count as equal; without it, only equal bits do",
          .kind = OptionKind::Number,
          .argument = "X",
          .valid = "a number from 0 on",
          .accepts = canBeRead<toleranceIn>,
          .commands = {"diff"},
      },
      {
          .name = "--size",
          .help = "width and height in pixels",
          .kind = OptionKind::Text,
          .argument = "WxH",
          .default_value = "1024x768",
          .valid = sizeRule(),
          .accepts = canBeRead<pictureSizeIn>,
          .commands = {"render"},
      },
      {
          .name = "--view",
          .help = "one of the scene's views: front, back, left, right, top, bottom, iso",
          .kind = OptionKind::Choice,
          .argument = "NAME",
          .choices = {"front", "back", "left", "right", "top", "bottom", "iso"},
          .other_values = true,  // which other views there are, only the scene knows
          .default_value = "iso",
          .commands = {"render"},
      },
      {
          .name = "--sheet",
          .help = "all seven views side by side, each with its name",
          .commands = {"render"},
      },
      {
          .name = "--up",
          .help = "the axis of the model that points upwards: a picture's views stand accordingly, a GLB is "
                  "turned",
          .kind = OptionKind::Choice,
          .argument = "AXIS",
          .choices = {"x", "y", "z"},
          .default_value = "z",
          .commands = {"export", "render"},
      },
      {
          .name = "--unit",
          .help = "of the scene's lengths, for a GLB, which is in metres: m, cm, mm, in, ft and others, or a "
                  "length "
                  "in metres; "
                  "else the scene's own, else mm",
          .kind = OptionKind::Text,
          .argument = "UNIT",
          .valid = "a unit (um, mm, cm, dm, m, km, mil, in, ft, yd, mi) or a length in metres",
          .accepts = canBeRead<unitIn>,
          .commands = {"export"},
      },
      {
          .name = "--as-is",
          .help = "a GLB with the scene's own lengths and axes",
          .commands = {"export"},
      },
      {
          .name = "--background",
          .help = "the colour behind the model, with its opacity where that is stated, or none",
          .kind = OptionKind::Text,
          .argument = "COLOR",
          .valid = "RRGGBB or RRGGBBAA in hexadecimal digits, or none",
          .accepts = canBeRead<backgroundIn>,
          .commands = {"render"},
      },
      {
          .name = "--no-shade",
          .help = "a line drawing: the edges that surfaces do not hide",
          .commands = {"render"},
      },
      {
          .name = "--edges",
          .help = "draws the edges of surfaces dark",
          .commands = {"render"},
      },
      {
          .name = "--flat",
          .help = "every triangle in one shade",
          .commands = {"render"},
      },
      {
          .name = "--report",
          .help = "what the conversion left out, for the page to show: the report of loftbay --json",
          .kind = OptionKind::Path,
          .argument = "R.json",
          .commands = {"export", "view"},
      },
      {
          .name = "--no-open",
          .help = "writes the page only",
          .commands = {"view"},
      },
  };
  for (Option& option : commonOptions()) options.push_back(std::move(option));
  return options;
}

std::string_view version() {
  static const std::string text = "zix " LOFTBAY_VERSION " (Zix format " +
                                  std::to_string(Orb::Zix::format::kMajorVersion) + "." +
                                  std::to_string(Orb::Zix::format::kNewestKnownMinor) + ")";
  return text;
}

}  // namespace

const Program& zixProgram() {
  static const Program program = {
      .name = kProgram,
      .about = "zix looks at Zix scenes.",
      .version = version(),
      .quote = "'",
      .options = allOptions(),
      .commands = allCommands(),
      .refuse = [](const Command&, const std::string& reason) { return refuseUsage(reason); }};
  return program;
}

RunCommand runnerOf(const Command& command) {
  return kRunners[static_cast<std::size_t>(&command - zixProgram().commands.data())];
}

int refuseUsage(const std::string& reason) {
  complain(kProgram, reason);
  complain(kProgram, "'zix --help' shows how it is used");
  return kWrongUsage;
}

}  // namespace loftbay::cli
