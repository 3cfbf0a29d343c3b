#include "cli/loftbay/info_command.h"

#include <fmt/core.h>

#include "cli/command_line.h"
#include "cli/console.h"
#include "cli/json_value.h"
#include "cli/loftbay/file_summary.h"
#include "cli/loftbay/limits.h"
#include "cli/loftbay/options.h"
#include "cli/loftbay/report.h"
#include "cli/loftbay/search_dirs.h"
#include "cli/loftbay/segment_view.h"
#include "cli/program.h"
#include "cli/same_file.h"
#include "host/out_of_memory.h"
#include "host/path.h"
#include "host/shown_text.h"
#include "jttk/interface/inspect.h"

namespace loftbay::cli {

namespace {

using host::shownText;

constexpr int kInfoSchemaVersion = 1;

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

JsonValue toJson(const std::map<std::string, std::size_t>& counts) {
  JsonValue object = JsonValue::object();
  for (const auto& [what, count] : counts) object.set(what, std::uint64_t{count});
  return object;
}

JsonValue toJson(const jttk::ShapeDescription& shape) {
  return JsonValue::object({{"kind", orNull(shape.kind)},
                            {"sets", std::uint64_t{shape.sets}},
                            {"triangles", std::uint64_t{shape.triangles}},
                            {"lines", std::uint64_t{shape.lines}},
                            {"points", std::uint64_t{shape.points}}});
}

JsonValue toJson(const jttk::NodeDescription& node);

// An array with what `toJson` makes of each item.
template <typename T>
JsonValue toJson(const std::vector<T>& items) {
  JsonValue array = JsonValue::array();
  for (const T& item : items) array.add(toJson(item));
  return array;
}

JsonValue toJson(const jttk::NodeDescription& node) {
  return JsonValue::object({{"depth", std::uint64_t{node.depth}},
                            {"kind", node.kind},
                            {"name", node.name},
                            {"transform", node.has_transform},
                            {"material", node.has_material},
                            {"listed_before", node.listed_before},
                            {"units", orNull(node.units)},
                            {"levels", toJson(node.levels)}});
}

JsonValue lossesJson(const jttk::FileDescription& file) {
  JsonValue losses = JsonValue::array();
  for (const auto& loss : file.losses)
    losses.add(JsonValue::object({{"part", loss.part}, {"reason", loss.reason}}));
  return losses;
}

// What the documents of all forms begin with.
JsonValue documentOf(const std::string& input, const jttk::FileDescription& file) {
  JsonValue document =
      JsonValue::object({{"schema_version", kInfoSchemaVersion}, {"input", input}, {"loaded", file.loaded}});
  if (!file.loaded) document.set("error", failureOf(file));
  return document;
}

JsonValue descriptionJson(const std::string& input, const jttk::FileDescription& file) {
  JsonValue document = documentOf(input, file);
  document.set("version", orNull(statedVersion(file)));
  document.set("byte_order", file.big_endian ? "big" : "little");
  document.set("header", file.header_text);
  document.set("units", orNull(file.units));
  document.set("segments", toJson(segmentsByType(file)));
  document.set("compression", toJson(segmentsByCompression(file)));
  document.set("duplicate_toc_entries", std::uint64_t{file.duplicate_entries});
  document.set("files", file.files);
  document.set("tree", toJson(file.tree));
  document.set("tree_is_cut", file.tree_is_cut);
  document.set("unknown_elements", toJson(file.unknown));
  document.set("unreadable_segments", file.unreadable_segments);
  document.set("cannot_be_converted", lossesJson(file));
  document.set("notes", file.notes);
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
    print(fmt::format("JT {}, {}-endian{}\n", statedVersion(file), file.big_endian ? "big" : "little",
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

JsonValue propertiesJson(const std::string& input, const jttk::FileDescription& file) {
  JsonValue nodes = JsonValue::array();
  for (const auto& node : file.properties) {
    JsonValue texts = JsonValue::array();
    for (const auto& [key, text] : node.texts) texts.add(JsonValue::object({{"key", key}, {"text", text}}));
    nodes.add(JsonValue::object({{"file", node.file},
                                 {"id", node.id},
                                 {"kind", node.kind},
                                 {"name", orNull(node.name)},
                                 {"properties", std::move(texts)}}));
  }
  JsonValue document = documentOf(input, file);
  document.set("nodes", std::move(nodes));
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
  std::optional<std::string> segment;
  std::string raw;
};

// Why the options make no sense; empty when they do.
std::string complaint(const InfoOptions& options) {
  if (options.summary && options.properties) return "--summary and --properties exclude each other";
  if (options.segment && (options.summary || options.properties))
    return "--segment goes with neither --summary nor --properties";
  if (options.segment && options.segment->empty()) return "--segment needs the id of a segment, or 'list'";
  if (!options.raw.empty() && (!options.segment || *options.segment == "list"))
    return "--raw goes with --segment and an id";
  if (!options.raw.empty() && isSameFile(options.inputs.front(), options.raw))
    return "input and output are the same file";
  if (options.stated && !options.summary) return "--stated goes with --summary";
  if (options.inputs.size() > 1 && !options.summary) return "several files go with --summary";
  return {};
}

bool summariseFiles(const InfoOptions& options) {
  bool sound = true;
  JsonValue documents = JsonValue::array();
  SummaryTable table;
  for (const std::string& input : options.inputs) {
    const auto file = jttk::describeFile(host::toProgramPath(input), {.decode_shapes = !options.stated});
    sound = isWhole(file) && sound;
    if (options.json) {
      documents.add(summaryJson(input, file));
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
    printJson(options.properties ? propertiesJson(input, file) : descriptionJson(input, file));
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

int infoCommand(std::span<const std::string> arguments) {
  const auto line = readCommandLine(loftbayProgram(), infoInTable(), arguments);
  if (!line) return finishOutput("loftbay") ? line.error() : kFailed;
  const InfoOptions options{line->operands(),
                            line->has("--json"),
                            line->has("--summary"),
                            line->has("--stated"),
                            line->has("--properties"),
                            line->value("--segment"),
                            line->value("--raw").value_or("")};
  if (const std::string reason = complaint(options); !reason.empty())
    return loftbayProgram().refuse(infoInTable(), reason);
  setLimits(limitsIn(*line));
  setSearchDirs(line->values("--search-dir"));
  bool sound = false;
  try {
    if (options.segment) {
      sound = showSegments({options.inputs.front(), *options.segment, options.raw, options.json});
    } else {
      sound = options.summary ? summariseFiles(options) : describe(options);
    }
  } catch (const std::exception& error) {
    const std::string place = options.inputs.size() == 1 ? options.inputs.front() + ": " : "";
    complain("loftbay", place + host::failureText(error));
  }
  const bool written = finishOutput("loftbay");
  return written && sound ? kDone : kFailed;
}

}  // namespace loftbay::cli
