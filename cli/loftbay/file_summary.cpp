#include "cli/loftbay/file_summary.h"

#include <fmt/core.h>

#include <algorithm>
#include <filesystem>
#include <limits>

#include "host/path.h"
#include "host/shown_text.h"

namespace loftbay::cli {

namespace {

constexpr int kSummarySchemaVersion = 1;

// Deeply shared nodes can have more occurrences than 64 bits hold, so counts saturate.
std::uint64_t addUpTo(std::uint64_t a, std::uint64_t b) {
  return a > std::numeric_limits<std::uint64_t>::max() - b ? std::numeric_limits<std::uint64_t>::max()
                                                           : a + b;
}

// Parts and triangles at and below a node, each as often as it is placed there.
struct Placed {
  std::uint64_t parts = 0;
  std::vector<std::uint64_t> triangles;  // by level

  void add(const Placed& other) {
    parts = addUpTo(parts, other.parts);
    triangles.resize(std::max(triangles.size(), other.triangles.size()));
    for (std::size_t i = 0; i < other.triangles.size(); ++i)
      triangles[i] = addUpTo(triangles[i], other.triangles[i]);
  }
};

bool hasNoTriangles(const std::string& kind) {
  return kind == "polyline set" || kind == "point set" || kind == "null shape";
}

class Summing {
 public:
  explicit Summing(const jttk::FileDescription& file) : file_(file), placed_(file.tree.size()) {}

  FileSummary run() {
    for (std::size_t i = 0; i < file_.tree.size(); ++i) {
      closeDownTo(file_.tree[i].depth);
      visit(i);
      open_.push_back(i);
    }
    closeDownTo(0);
    summary_.parts_placed = all_.parts;
    for (std::size_t i = 0; i < summary_.levels.size(); ++i) summary_.levels[i].placed = all_.triangles[i];
    for (const auto& [kind, count] : kinds_) summary_.not_converted.emplace_back(kind, count);
    for (const auto& [type, count] : file_.unread_segments) summary_.not_converted.emplace_back(type, count);
    return std::move(summary_);
  }

 private:
  // What is below a node is complete once a node that is no deeper follows.
  void closeDownTo(std::size_t depth) {
    while (!open_.empty() && file_.tree[open_.back()].depth >= depth) {
      const std::size_t done = open_.back();
      open_.pop_back();
      (open_.empty() ? all_ : placed_[open_.back()]).add(placed_[done]);
    }
  }

  void visit(std::size_t index) {
    const jttk::NodeDescription& node = file_.tree[index];
    if (node.listed_before) {
      placed_[index].add(placed_[node.first_listed]);
    } else if (node.kind == "part") {
      visitPart(node, placed_[index]);
    }
  }

  void visitPart(const jttk::NodeDescription& part, Placed& placed) {
    placed.parts = 1;
    ++summary_.parts_unique;
    placed.triangles.resize(part.levels.size());
    summary_.levels.resize(std::max(summary_.levels.size(), part.levels.size()));
    for (std::size_t i = 0; i < part.levels.size(); ++i) {
      for (const auto& shape : part.levels[i]) placed.triangles[i] += countShape(shape, summary_.levels[i]);
      summary_.levels[i].unique += placed.triangles[i];
    }
    if (part.levels.empty()) return;
    for (const auto& shape : part.levels.front()) {
      if (shape.kind == "polyline set" || shape.kind == "point set") ++kinds_[shape.kind];
    }
  }

  static std::uint64_t countShape(const jttk::ShapeDescription& shape, LevelSummary& level) {
    if (shape.lines > 0 || shape.points > 0 || hasNoTriangles(shape.kind)) return 0;
    if (shape.decoded) {
      ++(shape.is_exact ? level.tessellated : level.decoded);
      return shape.triangles;
    }
    ++(shape.stated_triangles ? level.stated : level.not_counted);
    return shape.stated_triangles.value_or(0);
  }

  const jttk::FileDescription& file_;
  FileSummary summary_;
  std::vector<Placed> placed_;     // beside file_.tree
  std::vector<std::size_t> open_;  // the nodes above the current one
  Placed all_;
  std::map<std::string, std::uint64_t> kinds_;
};

// Of the box, by axis. In double: the difference of two floats can be larger than any float.
std::optional<std::array<double, 3>> sizeOf(const jttk::FileDescription& file) {
  if (!file.box) return std::nullopt;
  const auto& box = *file.box;
  std::array<double, 3> size{};
  for (std::size_t i = 0; i < 3; ++i) size[i] = static_cast<double>(box[i + 3]) - static_cast<double>(box[i]);
  return size;
}

std::optional<std::uint64_t> bytesOf(const std::string& input) {
  std::error_code error;
  const auto bytes = std::filesystem::file_size(host::toFileSystemPath(host::toProgramPath(input)), error);
  if (error) return std::nullopt;
  return bytes;
}

// A "+" marks counts that are incomplete.
std::string trianglesText(const FileSummary& summary) {
  std::string text;
  std::string source;
  const auto add = [&](const char* word, bool applies) {
    if (applies && source.find(word) == std::string::npos)
      source += (source.empty() ? "" : ", ") + std::string(word);
  };
  for (const auto& level : summary.levels) {
    text += fmt::format("{}{}{}", text.empty() ? "" : " / ", level.placed, level.not_counted > 0 ? "+" : "");
    add("stated", level.stated > 0);
    add("tessellated", level.tessellated > 0);
  }
  return source.empty() ? text : text + " (" + source + ")";
}

bool memoryRanOut(const std::string& reason) {
  return reason.find("out of memory") != std::string::npos || reason.find(": no memory") != std::string::npos;
}

std::string notConvertedText(const jttk::FileDescription& file, const FileSummary& summary) {
  if (!file.loaded) return file.losses.empty() ? "cannot be loaded" : file.losses.front().reason;
  std::string text;
  const auto add = [&](const std::string& what, std::uint64_t count) {
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, what);
  };
  // What memory ran out for is not the file's fault, and must not look like it.
  std::uint64_t parts[2] = {};
  for (const auto& loss : file.losses) ++parts[memoryRanOut(loss.reason) ? 1 : 0];
  if (parts[0] > 0) add("that cannot be read", parts[0]);
  if (parts[1] > 0) add("for which memory ran out", parts[1]);
  // Segments that no part needs: otherwise the part is counted.
  std::uint64_t segments[2] = {};
  if (file.losses.empty()) {
    for (const auto& reason : file.unreadable_segments) ++segments[memoryRanOut(reason) ? 1 : 0];
  }
  if (segments[0] > 0) add("unreadable segment", segments[0]);
  if (segments[1] > 0) add("segment for which memory ran out", segments[1]);
  for (const auto& [what, count] : summary.not_converted) add(what, count);
  return text;
}

std::size_t widthOf(std::string_view utf8) {
  return static_cast<std::size_t>(
      std::ranges::count_if(utf8, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; }));
}

JsonValue sizeJson(const jttk::FileDescription& file) {
  const auto size = sizeOf(file);
  if (!size) return nullptr;
  JsonValue array = JsonValue::array();
  for (const double length : *size) array.add(length);
  return array;
}

JsonValue levelJson(const LevelSummary& level) {
  return JsonValue::object({{"triangles_placed", level.placed},
                            {"triangles_unique", level.unique},
                            {"shapes", JsonValue::object({{"decoded", level.decoded},
                                                          {"tessellated", level.tessellated},
                                                          {"stated", level.stated},
                                                          {"not_counted", level.not_counted}})}});
}

}  // namespace

std::string statedVersion(const jttk::FileDescription& file) {
  return file.major == 0 ? "" : fmt::format("{}.{}", file.major, file.minor);
}

std::string failureOf(const jttk::FileDescription& file) {
  return file.losses.empty() ? "the file cannot be loaded" : file.losses.front().reason;
}

FileSummary summarise(const jttk::FileDescription& file) { return Summing(file).run(); }

JsonValue summaryJson(const std::string& input, const jttk::FileDescription& file) {
  const FileSummary summary = summarise(file);
  const auto bytes = bytesOf(input);
  JsonValue document = JsonValue::object(
      {{"schema_version", kSummarySchemaVersion}, {"input", input}, {"loaded", file.loaded}});
  if (!file.loaded) document.set("error", failureOf(file));
  document.set("version", orNull(statedVersion(file)));
  document.set("bytes", orNull(bytes));
  document.set("units", orNull(file.units));
  document.set("size", sizeJson(file));
  document.set("parts",
               JsonValue::object({{"placed", summary.parts_placed}, {"unique", summary.parts_unique}}));
  JsonValue levels = JsonValue::array();
  for (const auto& level : summary.levels) levels.add(levelJson(level));
  document.set("levels", std::move(levels));
  document.set("tree_is_cut", file.tree_is_cut);
  JsonValue not_converted = JsonValue::array();
  for (const auto& [what, count] : summary.not_converted)
    not_converted.add(JsonValue::object({{"what", what}, {"count", count}}));
  document.set("not_converted", std::move(not_converted));
  JsonValue losses = JsonValue::array();
  for (const auto& loss : file.losses)
    losses.add(JsonValue::object({{"part", loss.part}, {"reason", loss.reason}}));
  document.set("cannot_be_converted", std::move(losses));
  document.set("notes", file.notes);
  return document;
}

SummaryTable::SummaryTable()
    : rows_{{"FILE", "JT", "UNIT", "SIZE", "PARTS", "UNIQUE", "TRIANGLES BY LEVEL", "NOT CONVERTED"}} {}

void SummaryTable::add(const std::string& input, const jttk::FileDescription& file) {
  const FileSummary summary = summarise(file);
  const auto size = sizeOf(file);
  const auto orDash = [](std::string text) { return text.empty() ? std::string("-") : std::move(text); };
  std::vector<std::string> row = {
      input,
      orDash(statedVersion(file)),
      orDash(file.units),
      size ? fmt::format("{:.6g} x {:.6g} x {:.6g}", (*size)[0], (*size)[1], (*size)[2]) : "-",
      fmt::format("{}{}", summary.parts_placed, file.tree_is_cut ? "+" : ""),
      fmt::format("{}{}", summary.parts_unique, file.tree_is_cut ? "+" : ""),
      orDash(trianglesText(summary)),
      orDash(notConvertedText(file, summary))};
  for (auto& cell : row) cell = host::shownText(cell);
  rows_.push_back(std::move(row));
}

std::string SummaryTable::text() const {
  std::vector<std::size_t> widths(rows_.front().size());
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], widthOf(row[i]));
  }
  std::string text;
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i + 1 < row.size(); ++i)
      text += row[i] + std::string(widths[i] - widthOf(row[i]) + 2, ' ');
    text += row.back() + "\n";
  }
  return text;
}

}  // namespace loftbay::cli
