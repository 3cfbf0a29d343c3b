#include "jttk/model/document.h"

#include "jttk/graph/read_scene_graph.h"
#include "jttk/graph/roots.h"
#include "jttk/model/labels.h"
#include "jttk/model/settings.h"

namespace jttk {

namespace {

std::string placeOf(const TocEntry& entry) { return "segment " + entry.id.text(); }

// The lengths that the file states may end before the graph does.
Result<SceneGraph> readToItsEnd(const Segment& segment, Version version, ByteOrder order) {
  Result<SceneGraph> graph = readSceneGraph(segment, version, order);
  if ((graph && !graph->is_cut_off) || segment.reach.size() <= segment.data.size()) return graph;
  Segment longer;
  longer.id = segment.id;
  longer.type = segment.type;
  longer.data = segment.reach;
  longer.base_offset = segment.base_offset;
  Result<SceneGraph> whole = readSceneGraph(longer, version, order);
  const bool is_better = whole && (!graph || !whole->is_cut_off);
  return is_better ? std::move(whole) : std::move(graph);
}

Result<SceneGraph> readGraph(const TocEntry& entry, Document& document) {
  const JtFile& jt = *document.file;
  const Result<Segment> segment = jt.segment(entry);
  if (!segment) return passOn(segment);
  Result<SceneGraph> graph = readToItsEnd(*segment, jt.version(), jt.byteOrder());
  if (!graph) return passOn(graph);
  if (!segment->note.empty()) document.notes.push_back(placeOf(entry) + ": " + segment->note);
  return graph;
}

// Where the file's header names a segment that holds no graph, one that the table of contents calls a graph.
Result<SceneGraph> readAnyGraph(const TocEntry& named, Document& document) {
  Result<SceneGraph> graph = readGraph(named, document);
  if (graph) return graph;
  for (const TocEntry& entry : document.file->contents()) {
    if (entry.type != SegmentType::SceneGraph || entry.id == named.id) continue;
    Result<SceneGraph> other = readGraph(entry, document);
    if (!other) continue;
    document.notes.push_back("the scene graph of " + placeOf(entry) +
                             " is used; that which the header names cannot be read: " + graph.error().text());
    return other;
  }
  return graph;
}

Result<std::unique_ptr<Document>> finish(const std::string& path, Result<std::unique_ptr<JtFile>> file,
                                         std::shared_ptr<WorkBudget> budget) {
  if (!file) return passOn(file);
  auto document = std::make_unique<Document>();
  document->path = path;
  document->file = std::move(*file);
  document->file->setBudget(budget);
  document->budget = std::move(budget);
  const JtFile& jt = *document->file;
  const TocEntry* entry = jt.sceneGraph();
  if (entry == nullptr) {
    return fail("the table of contents does not list the scene graph segment " + jt.sceneGraphId().text());
  }
  Result<SceneGraph> graph = readAnyGraph(*entry, *document);
  if (!graph) return passOn(graph);
  document->graph = std::move(*graph);
  return document;
}

}  // namespace

std::string Document::label(std::uint32_t node) const {
  return std::string(withoutSuffix(graph.text(graph.nodes[node].name)));
}

std::string Document::nearestLabel(std::uint32_t node) const {
  const std::uint32_t named = node == kNone ? kNone : graph.nearest_named[node];
  std::string text = named == kNone ? std::string() : label(named);
  return text.empty() ? std::string(fileStem(path)) : text;
}

std::shared_ptr<WorkBudget> newBudget() { return std::make_shared<WorkBudget>(workLimits()); }

Result<std::unique_ptr<Document>> openDocument(const std::string& program_path,
                                               std::shared_ptr<WorkBudget> budget) {
  return finish(program_path, JtFile::open(program_path), std::move(budget));
}

Result<std::unique_ptr<Document>> openDocument(const std::string& program_path,
                                               std::span<const std::byte> bytes) {
  return finish(program_path, JtFile::fromBytes(bytes), newBudget());
}

}  // namespace jttk
