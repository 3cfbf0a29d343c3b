// The short form of what a JT file holds: one row of a table for each file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/json_value.h"
#include "jttk/interface/inspect.h"

namespace loftbay::cli {

// Of the shapes at one level of detail, over all parts that have it. Counts stop at their type's maximum.
struct LevelSummary {
  std::uint64_t unique = 0;  // each part once
  std::uint64_t placed = 0;  // each part as often as it occurs in the product
  // Sources of the triangle counts, in shapes that have triangles (each part once): decoded, tessellated from
  // exact geometry, stated by the scene graph, unknown.
  std::uint64_t decoded = 0;
  std::uint64_t tessellated = 0;
  std::uint64_t stated = 0;
  std::uint64_t not_counted = 0;
};

struct FileSummary {
  std::uint64_t parts_placed = 0;
  std::uint64_t parts_unique = 0;
  std::vector<LevelSummary> levels;  // triangles, the finest level first
  // What is in the file and does not become triangles of a scene: kinds of shapes at level 0 and types of
  // segments, with their numbers.
  std::vector<std::pair<std::string, std::uint64_t>> not_converted;
};

// "9.5"; empty where the file states none.
std::string statedVersion(const jttk::FileDescription& file);

// Why the file could not be loaded.
std::string failureOf(const jttk::FileDescription& file);

FileSummary summarise(const jttk::FileDescription& file);

JsonValue summaryJson(const std::string& input, const jttk::FileDescription& file);

// A table with a heading and a row for each call of add().
class SummaryTable {
 public:
  SummaryTable();
  void add(const std::string& input, const jttk::FileDescription& file);
  [[nodiscard]] std::string text() const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace loftbay::cli
