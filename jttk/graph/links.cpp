#include "jttk/graph/links.h"

#include <algorithm>

#include "jttk/graph/roots.h"
#include "jttk/graph/shown_children.h"

namespace jttk {

namespace {

enum class Visit : std::uint8_t { NotYet, Open, Done };

struct Step {
  std::uint32_t node;
  std::uint32_t next_child;
};

class Linker {
 public:
  explicit Linker(SceneGraph& graph) : graph_(graph), visits_(graph.nodes.size(), Visit::NotYet) {
    graph.nearest_named.assign(graph.nodes.size(), kNone);
  }

  void run() {
    if (graph_.root == kNone) return;
    enter(graph_.root, kNone);
    while (!steps_.empty()) {
      Step& step = steps_.back();
      const Node& node = graph_.nodes[step.node];
      if (!isShown(graph_, step.node) || step.next_child == node.children.count) {
        leave(step.node);
        steps_.pop_back();
      } else {
        follow(step.node, node.children.first + step.next_child++);
      }
    }
  }

 private:
  void enter(std::uint32_t index, std::uint32_t parent) {
    const Node& node = graph_.nodes[index];
    visits_[index] = Visit::Open;
    const std::uint32_t above = parent == kNone ? kNone : graph_.nearest_named[parent];
    graph_.nearest_named[index] = node.name != kNone ? index : above;
    if (!isShown(graph_, index)) graph_.hidden_nodes.push_back(index);
    steps_.push_back({index, 0});
  }

  void follow(std::uint32_t parent, std::uint32_t link) {
    std::uint32_t& child = graph_.children[link];
    if (child == kMissingChild) {
      reportMissing(parent, graph_.child_ids[link]);
    } else if (visits_[child] == Visit::Open) {
      report(parent, "the " + nodeText(graph_.nodes[parent]) + " has the " + nodeText(graph_.nodes[child]) +
                         ", which is above it, as a child; the circle is not followed");
      child = kCyclicChild;
    } else if (visits_[child] == Visit::NotYet) {
      enter(child, parent);
    }
  }

  void leave(std::uint32_t index) {
    Node& node = graph_.nodes[index];
    visits_[index] = Visit::Done;
    for (std::uint32_t i = 0; i < node.attributes.count; ++i) {
      const std::uint32_t attribute = graph_.node_attributes[node.attributes.first + i];
      if (attribute != kNone && graph_.attributes[attribute].kind == AttributeKind::Material &&
          (graph_.attributes[attribute].state & Attribute::kIgnore) == 0) {
        graph_.has_materials = true;
      }
    }
    if (!isShown(graph_, index)) return;
    node.has_shapes = isShape(node.kind) || isReference(graph_, index);
    forShownChildren(graph_, node, [&](std::uint32_t child) { add(node, graph_.nodes[child]); });
  }

  static void add(Node& node, const Node& child) {
    node.has_shapes = node.has_shapes || child.has_shapes;
    if (!isGrouping(node.kind)) return;
    node.product_count = static_cast<std::uint8_t>(std::min(2, node.product_count + productsAt(child)));
  }

  void reportMissing(std::uint32_t parent, std::int32_t id) {
    const auto unknown = std::lower_bound(
        graph_.unknown.begin(), graph_.unknown.end(), id,
        [](const UnknownElement& element, std::int32_t wanted) { return element.id < wanted; });
    const std::string what = "the " + nodeText(graph_.nodes[parent]) + " has a child " + std::to_string(id);
    if (unknown == graph_.unknown.end() || unknown->id != id) {
      report(parent, what + ", but the file has no such node");
    } else {
      report(parent, what + " of an unknown kind (" + unknown->kind.text() + ")");
    }
  }

  void report(std::uint32_t node, std::string text) { graph_.addDamage(node, makeError(std::move(text))); }

  SceneGraph& graph_;
  std::vector<Visit> visits_;
  std::vector<Step> steps_;
};

}  // namespace

void resolveIds(const IndexById& nodes, const std::vector<std::int32_t>& attribute_ids, SceneGraph& graph) {
  const auto find = [](const IndexById& ids, std::int32_t id) {
    const auto found = std::lower_bound(ids.begin(), ids.end(), std::pair{id, 0U});
    return found != ids.end() && found->first == id ? found->second : kNone;
  };
  IndexById attributes;
  attributes.reserve(graph.attributes.size());
  for (std::uint32_t i = 0; i < graph.attributes.size(); ++i)
    attributes.emplace_back(graph.attributes[i].id, i);
  std::sort(attributes.begin(), attributes.end());
  // Attributes of unknown kinds resolve to kNone and have no effect.
  graph.node_attributes.reserve(attribute_ids.size());
  for (const std::int32_t id : attribute_ids) graph.node_attributes.push_back(find(attributes, id));
  graph.children.reserve(graph.child_ids.size());
  for (const std::int32_t id : graph.child_ids) {
    const std::uint32_t index = find(nodes, id);
    graph.children.push_back(index == kNone ? kMissingChild : index);
  }
}

void linkNodes(SceneGraph& graph) { Linker(graph).run(); }

}  // namespace jttk
