// One opened JT file: the container and its scene graph.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "jttk/file/jt_file.h"
#include "jttk/graph/property_text.h"
#include "jttk/graph/scene_graph.h"

namespace jttk {

struct Document {
  std::string path;  // as it was opened, program form
  std::unique_ptr<JtFile> file;
  std::shared_ptr<WorkBudget> budget;  // of the model
  SceneGraph graph;
  // Names of nodes without a name of their own, where they have been worked out (see names.h). Key: node * 2,
  // plus 1 for the node as an instance's target.
  std::unordered_map<std::uint64_t, std::string> inherited_names;
  // Nodes (shapes and parts) whose loss has been reported, so that it is reported once.
  std::unordered_set<std::uint32_t> reported;
  // Shape nodes whose unreadable attributes (normals, colours, …) have been reported.
  std::unordered_set<std::uint32_t> reported_attributes;
  // Transforms (of SceneGraph::attributes) that have been checked, and shape nodes whose coordinates have
  // been reported as not finite.
  std::unordered_set<std::uint32_t> checked_transforms;
  std::unordered_set<std::uint32_t> reported_coordinates;
  // Notes about how the scene graph was found and read in spite of faults.
  std::vector<std::string> notes;
  // Segments whose harmless faults have been noted.
  std::set<Guid> noted_segments;
  // Shape nodes that were reported as doubtful but are handed out, and those whose coordinates gave a note.
  std::unordered_set<std::uint32_t> reported_doubts;
  std::unordered_set<std::uint32_t> noted_coordinates;
  // Shape nodes whose vertex colours have been counted.
  std::unordered_set<std::uint32_t> counted_colors;
  // Part nodes that are shown by another level than the wanted one, and that lose colours: counted once.
  std::unordered_set<std::uint32_t> reported_levels;
  std::unordered_set<std::uint32_t> reported_colors;
  // Segments of exact geometry whose losses have been reported.
  std::set<Guid> reported_segments;
  // The properties of the meta data segments that were asked for (see node_properties.h).
  mutable std::map<Guid, std::vector<TextProperty>> meta_data;

  // The node's own name as people see it; empty when it has none.
  [[nodiscard]] std::string label(std::uint32_t node) const;
  // The label of the nearest named node at or above, or the file's name: for messages.
  [[nodiscard]] std::string nearestLabel(std::uint32_t node) const;
};

// A new budget, with the limits that the settings give.
[[nodiscard]] std::shared_ptr<WorkBudget> newBudget();

// Opens a file and reads its scene graph. `budget`: of the model that the file belongs to.
Result<std::unique_ptr<Document>> openDocument(const std::string& program_path,
                                               std::shared_ptr<WorkBudget> budget = newBudget());
// The same over bytes that the caller keeps alive; `program_path` only names them.
Result<std::unique_ptr<Document>> openDocument(const std::string& program_path,
                                               std::span<const std::byte> bytes);

}  // namespace jttk
