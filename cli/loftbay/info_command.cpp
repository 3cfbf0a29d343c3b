#include "cli/loftbay/info_command.h"

#include <fmt/core.h>

#include <nlohmann/json.hpp>

#include "cli/arguments.h"
#include "cli/console.h"
#include "cli/json_text.h"
#include "cli/loftbay/file_summary.h"
#include "cli/loftbay/limits.h"
#include "cli/loftbay/report.h"
#include "cli/loftbay/search_dirs.h"
#include "cli/program.h"
#include "host/out_of_memory.h"
#include "host/path.h"
#include "host/shown_text.h"
#include "jttk/inspect.h"

namespace loftbay::cli {

namespace {

using Json = nlohmann::ordered_json;
using host::shownText;

constexpr int kInfoSchemaVersion = 1;

std::string versionOf(const jttk::FileDescription& file) {
  return fmt::format("{}.{}", file.major, file.minor);
}

// Segments by type, over all compressions.
std::map<std::string, std::size_t> segmentsByType(const jttk::FileDescription& file) {
  std::map<std::string, std::size_t> counts;
  for (const auto& segment : file.segments) counts[segment.type] += segment.count;
  return counts;
}

std::map<std::string, std::size_t> segmentsByCompression(const jttk::FileDescription& file) {
  std::map<std::string, std::size_t> counts;
  for (const auto& segment : file.segments) counts[segment.compression] += segment.count;
  return counts;
}

Json toJson(const jttk::ShapeDescription& shape) {
  return {{"kind", shape.kind.empty() ? Json(nullptr) : Json(shape.kind)},
          {"sets", shape.sets},
          {"triangles", shape.triangles},
          {"lines", shape.lines},
          {"points", shape.points}};
}

Json toJson(const jttk::NodeDescription& node) {
  Json levels = Json::array();
  for (const auto& level : node.levels) {
    Json shapes = Json::array();
    for (const auto& shape : level) shapes.push_back(toJson(shape));
    levels.push_back(std::move(shapes));
  }
  return {{"depth", node.depth},
          {"kind", node.kind},
          {"name", node.name},
          {"transform", node.has_transform},
          {"material", node.has_material},
          {"listed_before", node.listed_before},
          {"units", node.units.empty() ? Json(nullptr) : Json(node.units)},
          {"levels", std::move(levels)}};
}

Json toJson(const std::string& input, const jttk::FileDescription& file) {
  Json tree = Json::array();
  for (const auto& node : file.tree) tree.push_back(toJson(node));
  Json losses = Json::array();
  for (const auto& loss : file.losses) losses.push_back({{"part", loss.part}, {"reason", loss.reason}});
  Json document = {{"schema_version", kInfoSchemaVersion}, {"input", input}, {"loaded", file.loaded}};
  if (!file.loaded) {
    document["error"] = file.losses.empty() ? "the file cannot be loaded" : file.losses.front().reason;
  }
  document["version"] = file.major == 0 ? Json(nullptr) : Json(versionOf(file));
  document["byte_order"] = file.big_endian ? "big" : "little";
  document["header"] = file.header_text;
  document["units"] = file.units.empty() ? Json(nullptr) : Json(file.units);
  document["segments"] = segmentsByType(file);
  document["compression"] = segmentsByCompression(file);
  document["duplicate_toc_entries"] = file.duplicate_entries;
  document["files"] = file.files;
  document["tree"] = std::move(tree);
  document["tree_is_cut"] = file.tree_is_cut;
  document["unknown_elements"] = file.unknown;
  document["unreadable_segments"] = file.unreadable_segments;
  document["cannot_be_converted"] = std::move(losses);
  document["notes"] = file.notes;
  return document;
}

std::string shapesText(const std::vector<jttk::ShapeDescription>& level) {
  std::size_t triangles = 0;
  std::size_t lines = 0;
  std::size_t points = 0;
  std::map<std::string, std::size_t> kinds;
  for (const auto& shape : level) {
    ++kinds[shape.kind.empty() ? "unreadable shape" : shape.kind];
    triangles += shape.triangles;
    lines += shape.lines;
    points += shape.points;
  }
  std::string text;
  for (const auto& [kind, count] : kinds)
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, kind);
  if (triangles > 0) text += fmt::format(", {} triangles", triangles);
  if (lines > 0) text += fmt::format(", {} line segments", lines);
  if (points > 0) text += fmt::format(", {} points", points);
  return text.empty() ? "no shapes" : text;
}

void printNode(const jttk::NodeDescription& node) {
  const std::string indent(2 * node.depth + 2, ' ');
  std::string facts;
  if (node.has_transform) facts += ", placed";
  if (node.has_material) facts += ", material";
  if (!node.units.empty()) facts += ", " + shownText(node.units);
  if (node.listed_before) facts += ", see above";
  print(fmt::format("{}{} \"{}\"{}\n", indent, node.kind, shownText(node.name), facts));
  for (std::size_t i = 0; i < node.levels.size(); ++i) {
    print(fmt::format("{}  level {}: {}\n", indent, i, shapesText(node.levels[i])));
  }
}

void printText(const std::string& input, const jttk::FileDescription& file) {
  print(fmt::format("{}\n", shownText(input)));
  if (file.major != 0) {
    print(fmt::format("JT {}, {}-endian{}\n", versionOf(file), file.big_endian ? "big" : "little",
                      file.units.empty() ? "" : ", units " + shownText(file.units)));
  }
  if (!file.segments.empty()) print("Segments:\n");
  for (const auto& segment : file.segments) {
    print(fmt::format("  {:>6}  {} ({})\n", segment.count, segment.type,
                      segment.compression == "none" ? "not compressed" : segment.compression));
  }
  if (file.duplicate_entries > 0)
    print(fmt::format("  {} repeated entries in the contents\n", file.duplicate_entries));
  if (!file.files.empty()) print("Other files:\n");
  for (const auto& name : file.files) print(fmt::format("  {}\n", shownText(name)));
  if (!file.tree.empty()) print("Tree:\n");
  for (const auto& node : file.tree) printNode(node);
  if (file.tree_is_cut) print("  … (cut)\n");
  if (!file.unknown.empty()) print("Elements that are not known, and skipped:\n");
  for (const auto& [kind, count] : file.unknown) print(fmt::format("  {:>6}  {}\n", count, kind));
  if (!file.unreadable_segments.empty()) print("Segments that cannot be read:\n");
  for (const auto& text : file.unreadable_segments) print(fmt::format("  {}\n", shownText(text)));
  if (!file.losses.empty()) print("Cannot be converted:\n");
  for (const auto& loss : file.losses) {
    print(fmt::format("  {}\n", shownText(lossText(loss.part, loss.reason))));
  }
  if (!file.notes.empty()) print("Notes:\n");
  for (const auto& note : file.notes) print(fmt::format("  {}\n", shownText(note)));
}

bool isWhole(const jttk::FileDescription& file) {
  return file.loaded && file.losses.empty() && file.unreadable_segments.empty();
}

std::string failureOf(const jttk::FileDescription& file) {
  return file.losses.empty() ? "the file cannot be loaded" : file.losses.front().reason;
}

Json propertiesJson(const std::string& input, const jttk::FileDescription& file) {
  Json nodes = Json::array();
  for (const auto& node : file.properties) {
    Json texts = Json::array();
    for (const auto& [key, text] : node.texts) texts.push_back({{"key", key}, {"text", text}});
    nodes.push_back({{"file", node.file},
                     {"id", node.id},
                     {"kind", node.kind},
                     {"name", node.name.empty() ? Json(nullptr) : Json(node.name)},
                     {"properties", std::move(texts)}});
  }
  Json document = {{"schema_version", kInfoSchemaVersion}, {"input", input}, {"loaded", file.loaded}};
  if (!file.loaded) document["error"] = failureOf(file);
  document["nodes"] = std::move(nodes);
  return document;
}

void printProperties(const jttk::FileDescription& file) {
  const std::string* shown_file = nullptr;
  for (const auto& node : file.properties) {
    if (shown_file == nullptr || *shown_file != node.file) print(shownText(node.file) + "\n");
    shown_file = &node.file;
    print(fmt::format("  {} {} \"{}\"\n", node.kind, node.id, shownText(node.name)));
    for (const auto& [key, text] : node.texts)
      print(fmt::format("    {} = {}\n", shownText(key), shownText(text)));
  }
}

struct InfoOptions {
  std::vector<std::string> inputs;
  bool json = false;
  bool summary = false;
  bool stated = false;
  bool properties = false;
};

void declare(CLI::App& app, InfoOptions& options) {
  app.footer(
      "Exit codes: 0 done, 1 a file cannot be loaded or something in it cannot be read, 2 wrong usage.");
  app.set_version_flag("--version", "loftbay " LOFTBAY_VERSION);
  app.add_option("IN.jt", options.inputs, "the JT file; with --summary several")->required();
  app.add_flag("--json", options.json,
               "one JSON document on standard output; with --summary an array with an object for each file");
  app.add_flag(
      "--summary", options.summary,
      "one line for each file: unit, size as the file states it, parts placed and unique, triangles of "
      "all placed parts by level, what is in the file and will not be converted");
  app.add_flag(
      "--stated", options.stated,
      "with --summary: no shape is decoded; triangles are what the file states (exact in 8.x, an upper "
      "bound in later versions), and shapes that cannot be read are not found");
  app.add_flag("--properties", options.properties, "the properties of every node instead: keys and texts");
}

// Why the options make no sense; empty when they do.
std::string complaint(const InfoOptions& options) {
  if (options.summary && options.properties) return "--summary and --properties exclude each other";
  if (options.stated && !options.summary) return "--stated goes with --summary";
  if (options.inputs.size() > 1 && !options.summary) return "several files go with --summary";
  return {};
}

bool summariseFiles(const InfoOptions& options) {
  bool sound = true;
  Json documents = Json::array();
  SummaryTable table;
  for (const std::string& input : options.inputs) {
    const auto file = jttk::describeFile(host::toProgramPath(input), {.decode_shapes = !options.stated});
    sound = isWhole(file) && sound;
    if (options.json) {
      documents.push_back(summaryJson(input, file));
    } else {
      table.add(input, file);
    }
  }
  if (options.json) {
    printJson(documents);
  } else {
    print(table.text());
  }
  return sound;
}

bool describe(const InfoOptions& options) {
  const std::string& input = options.inputs.front();
  const auto file = jttk::describeFile(
      host::toProgramPath(input), {.decode_shapes = !options.properties, .properties = options.properties});
  if (options.json) {
    printJson(options.properties ? propertiesJson(input, file) : toJson(input, file));
  } else if (options.properties) {
    printProperties(file);
  } else {
    printText(input, file);
  }
  if (!file.loaded) {
    if (!options.json) complain("loftbay", lossText(input, failureOf(file)));
  } else if (options.properties) {  // which say nothing of it themselves
    for (const std::string& text : file.unreadable_segments) complain("loftbay", text);
    for (const auto& loss : file.losses) complain("loftbay", lossText(loss.part, loss.reason));
  }
  return isWhole(file);
}

}  // namespace

int infoCommand(const std::vector<std::string>& arguments) {
  InfoOptions options;
  CLI::App app(
      "Tells what a JT file holds: version, segments, tree, levels of detail, shapes, what cannot be "
      "converted.",
      "loftbay info");
  declare(app, options);
  std::vector<std::string> search_dirs;
  addSearchDirs(app, search_dirs);
  LimitTexts limit_texts;
  addLimits(app, limit_texts);
  if (const auto code = parseArguments(app, arguments)) return *code;
  if (const std::string reason = complaintOfSearchDirs(search_dirs); !reason.empty())
    return wrongUsage("loftbay", reason);
  Limits limits;
  if (const std::string reason = readLimits(app, limit_texts, limits); !reason.empty())
    return wrongUsage("loftbay info", reason);
  setLimits(limits);
  setSearchDirs(search_dirs);
  if (const std::string reason = complaint(options); !reason.empty())
    return wrongUsage("loftbay info", reason);
  bool sound = false;
  try {
    sound = options.summary ? summariseFiles(options) : describe(options);
  } catch (const std::exception& error) {
    const std::string place = options.inputs.size() == 1 ? options.inputs.front() + ": " : "";
    complain("loftbay", place + host::failureText(error));
  }
  const bool written = finishOutput("loftbay");
  return written && sound ? kDone : kFailed;
}

}  // namespace loftbay::cli
