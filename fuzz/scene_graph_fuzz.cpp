// Reads any bytes as a scene graph segment; the first byte chooses version and byte order. Whatever comes in,
// the graph that comes out must be sound: indices in range, no cycle that can be reached from the root.
// Seeds: corpus/scene_graph_fuzz.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "jttk/graph/read_scene_graph.h"
#include "jttk/graph/shown_children.h"

namespace {

void check(bool holds) {
  if (!holds) std::abort();
}

void checkRange(jttk::Range range, std::size_t size) {
  check(range.first <= size && range.count <= size - range.first);
}

void checkNodes(const jttk::SceneGraph& graph) {
  check(graph.root < graph.nodes.size());
  for (const jttk::Node& node : graph.nodes) {
    checkRange(node.children, graph.children.size());
    checkRange(node.attributes, graph.node_attributes.size());
    checkRange(node.properties, graph.properties.size());
    checkRange(node.late_loaded, graph.late_loaded.size());
    check(node.name == jttk::kNone || node.name < graph.strings.size());
    (void)graph.selectedChild(node);
  }
  for (const std::uint32_t attribute : graph.node_attributes) {
    check(attribute == jttk::kNone || attribute < graph.attributes.size());
  }
}

// Depth first, with a mark on the nodes of the current path.
void checkNoCircle(const jttk::SceneGraph& graph) {
  std::vector<std::uint8_t> state(graph.nodes.size());
  std::vector<std::pair<std::uint32_t, std::uint32_t>> way{{graph.root, 0}};
  state[graph.root] = 1;
  while (!way.empty()) {
    auto& [index, next] = way.back();
    const jttk::Node& node = graph.nodes[index];
    if (next == node.children.count || !jttk::isShown(graph, index)) {
      state[index] = 2;
      way.pop_back();
      continue;
    }
    const std::uint32_t child = graph.children[node.children.first + next++];
    if (child >= graph.nodes.size()) continue;
    check(state[child] != 1);
    if (state[child] == 0) {
      state[child] = 1;
      way.emplace_back(child, 0);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  constexpr jttk::Version kVersions[] = {{8, 0}, {8, 1}, {9, 0}, {9, 5}, {10, 0}, {10, 3}, {10, 5}, {9, 5}};
  const jttk::Version version = kVersions[data[0] & 7U];
  const auto order = (data[0] & 8U) != 0 ? jttk::ByteOrder::Big : jttk::ByteOrder::Little;
  jttk::Segment segment;
  segment.data = std::as_bytes(std::span(data + 1, size - 1));
  const auto graph = jttk::readSceneGraph(segment, version, order);
  if (!graph) return 0;
  checkNodes(*graph);
  checkNoCircle(*graph);
  return 0;
}
