#include "cli/loftbay/options.h"

#include "cli/console.h"
#include "cli/loftbay/search_dirs.h"
#include "cli/program.h"
#include "cli/scene_outputs.h"

namespace loftbay::cli {

namespace {

constexpr std::string_view kConvert = "convert";
constexpr std::string_view kInfo = "info";

constexpr std::string_view kAmount = "a number from 1, or one with K, M or G behind it";

constexpr std::string_view kConvertFooter =
    "Exit codes:\n"
    "  0    converted\n"
    "  1    the conversion failed, or something the file holds did not reach the scene\n"
    "  2    wrong usage\n"
    "  3    a path was refused\n"
    "  130  interrupted\n"
    "With --out-dir the code is 1 as soon as one file's is not 0.\n"
    "\n"
    "Environment: MERIDAN_TEMP_PATH, TEMP, TMP, USERPROFILE name the folder of the log;\n"
    "MERIDAN_JT_ULP_TESS_TOLERANCE is the minimum edge length for parts tessellated on load.\n"
    "Other commands: 'loftbay info --help'.";

// What a conversion makes of the model. The report of a conversion lists its options in the order of the
// table.
std::vector<Option> modelOptions() {
  constexpr std::string_view kGroup = "What is converted";
  return {
      {
          .name = "--no-optimize",
          .help = "keep every vertex instead of merging equal ones",
          .group = kGroup,
          .commands = {kConvert},
          .passed_on = true,
          .reported = true,
      },
      {
          .name = "--lines",
          .help = "convert lines too",
          .group = kGroup,
          .commands = {kConvert},
          .passed_on = true,
          .reported = true,
      },
      {
          .name = "--points",
          .help = "convert points too",
          .group = kGroup,
          .commands = {kConvert},
          .passed_on = true,
          .reported = true,
      },
      {
          .name = "--exact-geometry",
          .help = "tessellate exact geometry also where the file has facets of it",
          .group = kGroup,
          .commands = {kConvert},
          .passed_on = true,
          .reported = true,
      },
      {
          .name = "--properties",
          .help = "store the properties of the model's nodes in the scene: what the file and its meta data "
                  "state of parts, assemblies and instances",
          .group = kGroup,
          .commands = {kConvert},
          .passed_on = true,
          .reported = true,
      },
      {
          .name = "--lod",
          .help = "level of detail: finest, coarsest, or a number from 0, the finest",
          .kind = OptionKind::Choice,
          .argument = "LEVEL",
          .choices = {"finest", "coarsest"},
          .other_values = true,
          .default_value = "finest",
          .valid = "finest, coarsest or a number from 0",
          .accepts = canBeRead<levelIn>,
          .group = kGroup,
          .commands = {kConvert},
          .passed_on = true,
          .reported = true,
      },
      {
          .name = "--tess-tolerance",
          .help = "minimum edge length for parts tessellated on load",
          .kind = OptionKind::Number,
          .argument = "LENGTH",
          .valid = "a number",
          .accepts = canBeRead<lengthIn>,
          .group = kGroup,
          .commands = {kConvert},
          .passed_on = true,
          .reported = true,
      },
  };
}

std::vector<Option> fileOptions() {
  constexpr std::string_view kGroup = "Files that the model refers to";
  return {
      {
          .name = "--allow-outside",
          .help = "follow references to files outside the model's folder",
          .group = kGroup,
          .commands = {kConvert},
          .passed_on = true,
          .reported = true,
      },
      {
          .name = "--search-dir",
          .help = "where else to look for files that the model refers to (may be given several times)",
          .kind = OptionKind::Path,
          .argument = "DIR",
          .valid = "a folder",
          .accepts = isFolder,
          .group = kGroup,
          .commands = {kConvert, kInfo},
          .repeated = true,
          .passed_on = true,
          .reported = true,
      },
  };
}

Option limit(std::string_view name, std::string_view help, std::string_view default_value) {
  return {.name = name,
          .help = help,
          .kind = OptionKind::Number,
          .argument = "N",
          .default_value = default_value,
          .valid = kAmount,
          .accepts = canBeRead<bytesIn>,
          .group = "Limits",
          .commands = {kConvert, kInfo},
          .passed_on = true,
          .reported = true};
}

std::vector<Option> limitOptions() {
  std::vector<Option> options = {
      limit("--max-places",
            "most nodes that a model places, and most shapes; long names and large shapes count for more; K, "
            "M, G: thousands and so on",
            "50 K and 4 for each byte of its files"),
      limit("--max-unpacked", "most bytes that its packed data unpack to; K, M, G: 1024 and so on",
            "16 M and 256 for each byte of its files"),
      limit("--max-memory",
            "most bytes that decoders may ask for at one time, for each file that is converted; K, M, G: "
            "1024 and so on",
            "48 M and 2 K for each byte of its files, 8 G at the most"),
      {
          .name = "--timeout",
          .help = "seconds after which the conversion of a file is given up, with code 1 and no scene",
          .kind = OptionKind::Number,
          .argument = "SECONDS",
          .default_value = "none",
          .valid = "a number of seconds above 0",
          .accepts = canBeRead<timeIn>,
          .group = "Limits",
          .commands = {kConvert},
          .passed_on = true,
          .reported = true,
      },
  };
  options[0].accepts = canBeRead<countIn>;
  return options;
}

std::vector<Option> outputOptions() {
  constexpr std::string_view kOutput = "Log and report";
  constexpr std::string_view kSeveral = "Several files";
  constexpr std::string_view kBeside = "Beside the scene";
  static const std::string kExports = "a name that ends in one of " + exportExtensions();
  return {
      {
          .name = "--preview",
          .help = "a picture of the scene too, as 'zix render' draws it without options",
          .kind = OptionKind::Path,
          .argument = "OUT.png",
          .valid = "a name that ends in .png",
          .accepts = canBeRead<pictureNameIn>,
          .group = kBeside,
          .commands = {kConvert},
          .reported = true,
      },
      {
          .name = "--export",
          .help =
              "the scene in another format too, as 'zix export' writes it, by OUT's extension: .glb, .stl, "
              ".obj, or .html with the report of the conversion in it (may be given several times)",
          .kind = OptionKind::Path,
          .argument = "OUT",
          .valid = kExports,
          .accepts = canBeRead<exportNameIn>,
          .group = kBeside,
          .commands = {kConvert},
          .repeated = true,
          .reported = true,
      },
      {
          .name = "--work-dir",
          .help = "base folder of the log",
          .kind = OptionKind::Path,
          .argument = "DIR",
          .group = kOutput,
          .commands = {kConvert},
          .passed_on = true,
          .reported = true,
      },
      {
          .name = "--out-dir",
          .help = "convert every JT file into this folder, which is made if need be",
          .kind = OptionKind::Path,
          .argument = "DIR",
          .group = kSeveral,
          .commands = {kConvert},
      },
      {
          .name = "--jobs",
          .help = "files converted at a time with --out-dir",
          .kind = OptionKind::Number,
          .argument = "N",
          .default_value = "one per processor",
          .valid = "a number from 1",
          .accepts = canBeRead<jobsIn>,
          .group = kSeveral,
          .commands = {kConvert},
      },
      {
          .name = "--json",
          .help = "print a report on standard output",
          .group = kOutput,
          .commands = {kConvert},
      },
      {
          .name = "--quiet",
          .help = "print errors only",
          .group = kOutput,
          .commands = {kConvert},
          .passed_on = true,
      },
      // This process converts one file of a batch: its messages name the file.
      {
          .name = "--in-batch",
          .commands = {kConvert},
          .unlisted = true,
      },
  };
}

std::vector<Option> infoOptions() {
  constexpr std::string_view kGroup = "What is shown";
  return {
      {
          .name = "--json",
          .help =
              "one JSON document on standard output; with --summary an array with an object for each file",
          .group = kGroup,
          .commands = {kInfo},
      },
      {
          .name = "--summary",
          .help = "one line for each file: unit, size as the file states it, parts placed and unique, "
                  "triangles of all placed parts by level, what is in the file and will not be converted",
          .group = kGroup,
          .commands = {kInfo},
      },
      {
          .name = "--stated",
          .help = "with --summary: no shape is decoded; triangles are what the file states (exact in 8.x, an "
                  "upper bound in later versions), and shapes that cannot be read are not found",
          .group = kGroup,
          .commands = {kInfo},
      },
      {
          .name = "--properties",
          .help = "the properties of every node instead: keys and texts",
          .group = kGroup,
          .commands = {kInfo},
      },
      {
          .name = "--segment",
          .help = "one segment instead: where it lies, how it is packed, its elements and its shape; ID as "
                  "messages name it, or how it begins; 'list': all segments, a line each",
          .kind = OptionKind::Text,
          .argument = "ID",
          .group = kGroup,
          .commands = {kInfo},
      },
      {
          .name = "--raw",
          .help = "with --segment: writes the segment's bytes, unpacked, into FILE",
          .kind = OptionKind::Path,
          .argument = "FILE",
          .group = kGroup,
          .commands = {kInfo},
      },
  };
}

std::vector<Option> allOptions() {
  std::vector<Option> all = commonOptions();
  for (const auto& part : {infoOptions(), modelOptions(), fileOptions(), limitOptions(), outputOptions()})
    all.insert(all.end(), part.begin(), part.end());
  return all;
}

std::vector<Command> allCommands() {
  return {
      {
          .name = kConvert,
          .called = "loftbay",
          .about = "Converts JT product models into Zix scenes.",
          .operands = {{"FILES", "the JT file and the scene, or with --out-dir JT files"}},
          .usages = {"loftbay [convert] IN.jt OUT.zix [OPTIONS]",
                     "loftbay [convert] IN.jt... --out-dir DIR [--jobs N] [OPTIONS]"},
          .footer = kConvertFooter,
      },
      {
          .name = kInfo,
          .called = "loftbay info",
          .about = "Tells what a JT file holds: version, segments, tree, levels of detail, shapes, what "
                   "cannot be converted.",
          .operands = {{"IN.jt", "the JT file; with --summary several"}},
          .least_operands = 1,
          .usages = {"loftbay info [OPTIONS] IN.jt..."},
          .footer = "Exit codes: 0 done, 1 a file cannot be loaded or something in it cannot be read, 2 "
                    "wrong usage.",
      },
  };
}

int refuseUsage(const Command& command, const std::string& reason) {
  const std::string called(command.called);
  sayLines(called + ": " + reason + "\nTry '" + called + " --help'.\n");
  return kWrongUsage;
}

}  // namespace

const Program& loftbayProgram() {
  static const Program program = {.name = "loftbay",
                                  .about = "converts JT files into Zix scenes and tells what a JT file holds",
                                  .version = "loftbay " LOFTBAY_VERSION " (Zix format 1)",
                                  .quote = "",
                                  .options = allOptions(),
                                  .commands = allCommands(),
                                  .refuse = refuseUsage};
  return program;
}

const Command& convertInTable() { return loftbayProgram().commands[0]; }

const Command& infoInTable() { return loftbayProgram().commands[1]; }

}  // namespace loftbay::cli
