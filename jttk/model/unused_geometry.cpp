#include "jttk/model/unused_geometry.h"

#include <algorithm>
#include <map>
#include <set>
#include <vector>

#include "jttk/model/labels.h"

namespace jttk {

namespace {

constexpr std::size_t kMostNamed = 5;

// What the scene graph says of segments.
struct References {
  std::set<Guid> used;
  std::set<Guid> reported;                      // with a node that could not be read
  std::map<Guid, std::set<std::string>> names;  // of what else refers to them
};

References collect(const Document& document) {
  const SceneGraph& graph = document.graph;
  References references;
  for (std::uint32_t index = 0; index < graph.nodes.size(); ++index) {
    const Node& node = graph.nodes[index];
    for (std::uint32_t i = 0; i < node.late_loaded.count; ++i) {
      const Guid& id = graph.late_loaded[node.late_loaded.first + i].segment;
      const TocEntry* entry = document.file->find(id);
      if (entry == nullptr) continue;
      if (isShape(node.kind) || !isShapeSegment(entry->type)) {
        references.used.insert(id);
      } else {
        references.names[id].insert(document.nearestLabel(index));
      }
    }
  }
  const std::set<std::int32_t> children(graph.child_ids.begin(), graph.child_ids.end());
  const std::set<std::int32_t> unread(graph.unread_nodes.begin(), graph.unread_nodes.end());
  for (const StrayReference& stray : graph.stray_references) {
    if (children.contains(stray.node_id) || unread.contains(stray.node_id)) {
      references.reported.insert(stray.segment);
    } else if (stray.name != kNone) {
      references.names[stray.segment].emplace(withoutSuffix(graph.text(stray.name)));
    }
  }
  return references;
}

std::string listed(const std::vector<std::string>& texts) {
  std::string list;
  for (std::size_t i = 0; i < std::min(texts.size(), kMostNamed); ++i) {
    if (i > 0) list += ", ";
    list += texts[i];
  }
  return texts.size() > kMostNamed ? list + ", …" : list;
}

}  // namespace

std::optional<std::string> reportUnusedGeometry(const Document& document) {
  std::optional<References> references;
  std::vector<std::string> segments;
  std::set<std::string> names;
  for (const TocEntry& entry : document.file->contents()) {
    if (!holdsGeometry(entry.type)) continue;
    if (!references) references = collect(document);
    if (references->used.contains(entry.id) || references->reported.contains(entry.id)) continue;
    segments.push_back(entry.id.text());
    for (const std::string& name : references->names[entry.id]) names.insert("\"" + name + "\"");
  }
  if (segments.empty()) return std::nullopt;
  std::string text = std::to_string(segments.size()) +
                     (segments.size() == 1 ? " geometry segment is" : " geometry segments are") +
                     " not used by any shape of the scene graph: " + listed(segments);
  if (!names.empty()) {
    text += "; named beside them: " + listed(std::vector<std::string>(names.begin(), names.end()));
  }
  return text;
}

}  // namespace jttk
