#include "jttk/model/part_shapes.h"

#include <algorithm>

#include "jttk/graph/shown_children.h"

namespace jttk {

namespace {

class Collector {
 public:
  Collector(Model& model, PartShapes& shapes) : model_(model), shapes_(shapes), levels_(shapes.levels) {}

  void run(const Product& product, const Inherited& inherited) {
    steps_.push_back({product.content, inherited, kAnyLevel, false});
    if (!product.content_is_child) steps_.back().end = childCount(product.content);
    while (!steps_.empty()) {
      if (steps_.back().end == kNotVisited) {
        if (!model_.library().spend(WorkBudget::kUnitsPerPlace) && !model_.hasRoom()) return;
        const Step step = steps_.back();
        steps_.pop_back();
        visit(step);
      } else if (steps_.back().next == steps_.back().end) {
        steps_.pop_back();
      } else if (!visitNextChild()) {
        return;
      }
    }
  }

 private:
  static constexpr std::uint32_t kAnyLevel = kNone;  // value of Step::level above any level-of-detail node
  static constexpr std::uint32_t kNotVisited = kNone;
  static constexpr std::uint64_t kUnitsPerLevel = 16;

  // A node that is to be visited or, once it was, the next of its children.
  struct Step {
    NodeRef ref;
    Inherited inherited;
    std::uint32_t level;
    bool has_own_material;
    bool children_are_levels = false;
    std::uint32_t next = 0;
    std::uint32_t end = kNotVisited;
  };

  static std::uint32_t childCount(NodeRef ref) { return ref.node == kNone ? 0 : ref.data().children.count; }

  void visit(Step step) {
    const MaterialStates::State above = step.inherited.material;
    Matrix matrix = step.inherited.transform == nullptr ? kIdentity : *step.inherited.transform;
    if (model_.applyAttributes(step.ref, step.inherited, matrix)) {
      step.inherited.transform = matrix == kIdentity ? nullptr : model_.keep(matrix);
    }
    step.has_own_material = step.has_own_material || step.inherited.material != above;
    const NodeKind kind = step.ref.data().kind;
    if (isShape(kind)) {
      const std::uint32_t level = step.level == kAnyLevel ? 0 : step.level;
      needLevels(level + 1);
      levels_[level].push_back(
          {step.ref, step.inherited.material, step.has_own_material, step.inherited.transform});
    } else if (kind == NodeKind::Partition && isReference(step.ref.document().graph, step.ref.node)) {
      const FileChain* file = model_.library().follow(step.ref);
      if (file == nullptr || !isShown(file->document->graph, file->document->graph.root)) return;
      step.ref = {file, file->document->graph.root};
      steps_.push_back(step);
    } else if (isLod(kind)) {
      visitLevels(step);
    } else {
      step.end = childCount(step.ref);
      steps_.push_back(step);
    }
  }

  // Child k of a level of detail node is level k; inside a level only the finest of another such node counts.
  void visitLevels(Step step) {
    const Node& node = step.ref.data();
    const bool nested = step.level != kAnyLevel;
    const std::uint32_t count = nested ? std::min(node.children.count, 1U) : node.children.count;
    if (count == 0) return;
    if (!nested) {
      if (!model_.library().spend(kUnitsPerLevel * count) && !model_.hasRoom()) return;
      needLevels(count);
    }
    const SceneGraph& graph = step.ref.document().graph;
    const std::uint32_t finest = graph.children[node.children.first];
    if (finest < graph.nodes.size() && !isShown(graph, finest)) shapes_.hides_finest = true;
    step.children_are_levels = !nested;
    step.end = count;
    steps_.push_back(step);
  }

  // False when nothing more may be looked at.
  bool visitNextChild() {
    Step& step = steps_.back();
    const std::uint32_t number = step.next++;
    const SceneGraph& graph = step.ref.document().graph;
    const Node& node = step.ref.data();
    const std::uint32_t child = graph.children[node.children.first + number];
    if (!isShownChild(graph, node, child) || !graph.nodes[child].has_shapes) {
      return model_.library().spend(1) || model_.hasRoom();
    }
    const std::uint32_t level = step.children_are_levels ? number : step.level;
    steps_.push_back({{step.ref.file, child}, step.inherited, level, step.has_own_material});
    return true;
  }

  void needLevels(std::size_t count) {
    if (levels_.size() < count) levels_.resize(count);
  }

  Model& model_;
  PartShapes& shapes_;
  std::vector<Level>& levels_;
  std::vector<Step> steps_;
};

}  // namespace

PartShapes collectShapes(Model& model, const Product& product, const Inherited& inherited) {
  PartShapes shapes;
  if (product.content.node != kNone) Collector(model, shapes).run(product, inherited);
  return shapes;
}

}  // namespace jttk
