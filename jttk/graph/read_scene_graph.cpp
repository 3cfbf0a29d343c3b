// The segment in order: graph elements (nodes and attributes mixed), end of elements, property atoms, end of
// elements, property table. Kinds follow from the GUID alone: one writer leaves the base type byte 0.
#include "jttk/graph/read_scene_graph.h"

#include <algorithm>

#include "jttk/file/elements.h"
#include "jttk/graph/attributes.h"
#include "jttk/graph/links.h"
#include "jttk/graph/nodes.h"
#include "jttk/graph/properties.h"
#include "jttk/graph/roots.h"

namespace jttk {

namespace {

void readGraphElements(ByteReader& reader, Version version, SceneGraph& graph,
                       std::vector<std::int32_t>& attribute_ids) {
  ElementReader elements(reader);
  Element element;
  while (elements.next(element)) {
    const std::string where = " element " + std::to_string(element.id);
    if (const auto kind = nodeKind(element.kind)) {
      if (const auto read = readNode(element, *kind, version, graph, attribute_ids); !read) {
        graph.unread_nodes.push_back(element.id);
        graph.addDamage(kNone, read.error().ofElement(kindName(*kind) + where));
      }
    } else if (const auto attribute = attributeKind(element.kind)) {
      graph.lights += isLight(element.kind) ? 1U : 0U;
      graph.textures += isTexture(element.kind) ? 1U : 0U;
      if (const auto read = readAttribute(element, *attribute, version, graph); !read) {
        graph.addDamage(kNone, read.error().ofElement("attribute" + where));
      }
    } else {
      graph.unknown.push_back({element.id, element.kind});
      const auto likely = nodeKindOfBaseType(element.base_type);
      if (likely) static_cast<void>(readNode(element, *likely, version, graph, attribute_ids));
    }
  }
  if (!reader.ok()) graph.addDamage(kNone, reader.error().in("scene graph elements"));
}

IndexById indexNodes(SceneGraph& graph) {
  IndexById index;
  index.reserve(graph.nodes.size());
  for (std::uint32_t i = 0; i < graph.nodes.size(); ++i) index.emplace_back(graph.nodes[i].id, i);
  std::sort(index.begin(), index.end());
  for (std::size_t i = 1; i < index.size(); ++i) {
    if (index[i].first != index[i - 1].first || (i > 1 && index[i - 2].first == index[i].first)) continue;
    graph.addDamage(index[i].second, makeError("node id " + std::to_string(index[i].first) +
                                               " is used more than once; the first holds"));
  }
  return index;
}

}  // namespace

Result<SceneGraph> readSceneGraph(const Segment& segment, Version version, ByteOrder order) {
  ByteReader reader(segment.data, order, segment.base_offset);
  SceneGraph graph;
  std::vector<std::int32_t> attribute_ids;
  readGraphElements(reader, version, graph, attribute_ids);
  if (graph.nodes.empty()) {
    const Error error =
        graph.damage.empty() ? makeError("has no node", segment.base_offset) : graph.damage.front().error;
    return tl::unexpected<Error>(segment.named(error.ofElement("scene graph")));
  }
  std::sort(graph.unknown.begin(), graph.unknown.end(),
            [](const UnknownElement& a, const UnknownElement& b) { return a.id < b.id; });
  const IndexById node_by_id = indexNodes(graph);
  resolveIds(node_by_id, attribute_ids, graph);
  if (reader.ok()) {
    const std::vector<Atom> atoms = readAtoms(reader, version, graph);
    if (reader.ok()) readPropertyTable(reader, atoms, node_by_id, graph);
  }
  graph.is_cut_off = !reader.ok();
  graph.root = findRoot(graph);
  linkNodes(graph);
  reportUnreachable(graph);
  for (GraphDamage& damage : graph.damage) damage.error = segment.named(damage.error);
  return graph;
}

}  // namespace jttk
