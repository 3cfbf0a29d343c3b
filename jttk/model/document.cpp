#include "jttk/model/document.h"

#include "jttk/model/labels.h"
#include "jttk/model/roots.h"

namespace jttk {

namespace {

Result<std::unique_ptr<Document>> finish(const std::string& path, Result<std::unique_ptr<JtFile>> file) {
  if (!file) return tl::unexpected<Error>(file.error());
  auto document = std::make_unique<Document>();
  document->path = path;
  document->file = std::move(*file);
  const JtFile& jt = *document->file;
  const TocEntry* entry = jt.sceneGraph();
  if (entry == nullptr) {
    return fail("the table of contents does not list the scene graph segment " + jt.sceneGraphId().text(), 0);
  }
  const Result<Segment> segment = jt.segment(*entry);
  const std::string place = "segment " + entry->id.text();
  if (!segment) return tl::unexpected<Error>(segment.error());  // names the segment
  Result<SceneGraph> graph = readSceneGraph(*segment, jt.version(), jt.byteOrder());
  if (!graph) return tl::unexpected<Error>(graph.error().in(place));
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

bool Document::isReference(std::uint32_t index) const {
  return standsForFile(graph.nodes[index]) && index != graph.root;
}

Result<std::unique_ptr<Document>> openDocument(const std::string& program_path) {
  return finish(program_path, JtFile::open(program_path));
}

Result<std::unique_ptr<Document>> openDocument(const std::string& program_path,
                                               std::span<const std::byte> bytes) {
  return finish(program_path, JtFile::fromBytes(bytes));
}

}  // namespace jttk
