#include "cli/loftbay/info_command.h"

#include <fmt/core.h>

#include <nlohmann/json.hpp>

#include "cli/arguments.h"
#include "cli/console.h"
#include "cli/json_text.h"
#include "cli/program.h"
#include "host/path.h"
#include "jttk/inspect.h"

namespace loftbay::cli {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kSchemaVersion = 1;

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
  Json document = {{"schema_version", kSchemaVersion}, {"input", input}, {"loaded", file.loaded}};
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
  if (!node.units.empty()) facts += ", " + node.units;
  if (node.listed_before) facts += ", see above";
  print(fmt::format("{}{} \"{}\"{}\n", indent, node.kind, node.name, facts));
  for (std::size_t i = 0; i < node.levels.size(); ++i) {
    print(fmt::format("{}  level {}: {}\n", indent, i, shapesText(node.levels[i])));
  }
}

void printText(const std::string& input, const jttk::FileDescription& file) {
  print(fmt::format("{}\n", input));
  if (file.major != 0) {
    print(fmt::format("JT {}, {}-endian{}\n", versionOf(file), file.big_endian ? "big" : "little",
                      file.units.empty() ? "" : ", units " + file.units));
  }
  if (!file.segments.empty()) print("Segments:\n");
  for (const auto& segment : file.segments) {
    print(fmt::format("  {:>6}  {} ({})\n", segment.count, segment.type,
                      segment.compression == "none" ? "not compressed" : segment.compression));
  }
  if (file.duplicate_entries > 0)
    print(fmt::format("  {} repeated entries in the contents\n", file.duplicate_entries));
  if (!file.files.empty()) print("Other files:\n");
  for (const auto& name : file.files) print(fmt::format("  {}\n", name));
  if (!file.tree.empty()) print("Tree:\n");
  for (const auto& node : file.tree) printNode(node);
  if (file.tree_is_cut) print("  … (cut)\n");
  if (!file.unknown.empty()) print("Elements that are not known, and skipped:\n");
  for (const auto& [kind, count] : file.unknown) print(fmt::format("  {:>6}  {}\n", count, kind));
  if (!file.losses.empty()) print("Cannot be converted:\n");
  for (const auto& loss : file.losses) {
    print(loss.part.empty() ? fmt::format("  {}\n", loss.reason)
                            : fmt::format("  {}: {}\n", loss.part, loss.reason));
  }
  if (!file.notes.empty()) print("Notes:\n");
  for (const auto& note : file.notes) print(fmt::format("  {}\n", note));
}

}  // namespace

int infoCommand(const std::vector<std::string>& arguments) {
  std::string input;
  bool json = false;
  CLI::App app(
      "Tells what a JT file holds: version, segments, tree, levels of detail, shapes, what cannot be "
      "converted.",
      "loftbay info");
  app.footer(
      "Exit codes: 0 done, 1 the file cannot be loaded or something in it cannot be read, 2 wrong usage.");
  app.set_version_flag("--version", "loftbay " LOFTBAY_VERSION);
  app.add_option("IN.jt", input, "the JT file")->required();
  app.add_flag("--json", json, "one JSON document on standard output");
  if (const auto code = parseArguments(app, arguments)) return *code;

  const auto file = jttk::describeFile(host::toProgramPath(input), {.decode_shapes = true});
  if (json) {
    printJson(toJson(input, file));
  } else {
    printText(input, file);
    if (!file.loaded) {
      complain(
          "loftbay",
          input + ": " + (file.losses.empty() ? "the file cannot be loaded" : file.losses.front().reason));
    }
  }
  const bool written = finishOutput("loftbay");
  return written && file.loaded && file.losses.empty() ? kDone : kFailed;
}

}  // namespace loftbay::cli
