#include "jttk/model/hierarchy.h"

#include <algorithm>

#include "host/path.h"
#include "jttk/model/part.h"

namespace jttk {

AssemblyObject::AssemblyObject(Model& model, Product product, Met met, const Inherited& inherited)
    : HierarchyObject(model, std::move(product), met, inherited), answered_material_(below_.material) {
  Inherited own = met_ == Met::AsTarget ? below_ : Inherited{};
  Matrix unused = kIdentity;
  if (product_.content_is_child && product_.content.data().kind != NodeKind::Instance) {
    // A group that an instance refers to: its transform goes to the nodes below, its material is its own too.
    model_.applyAttributes(product_.content, own, unused);
  } else if (met_ == Met::AsChild) {
    for (const NodeRef& ref : product_.chain) model_.applyAttributes(ref, own, unused);
  }
  answered_material_ = own.material;
}

int AssemblyObject::numChildren() const {
  expand();
  return static_cast<int>(children_.size());
}

JtkHierarchy* AssemblyObject::getChild(int index) const {
  expand();
  if (index < 0 || static_cast<std::size_t>(index) >= children_.size()) return nullptr;
  Child& child = children_[static_cast<std::size_t>(index)];
  if (child.object == nullptr) child.object = model_.place(child.ref, Met::AsChild, child.inherited);
  return child.object;
}

// Finds the children, through grouping nodes, in the order of the file.
void AssemblyObject::expand() const {
  if (expanded_) return;
  expanded_ = true;
  if (product_.content.node == kNone) return;
  std::vector<Child> stack;
  if (product_.content_is_child) {
    stack.push_back({product_.content, below_, nullptr});
  } else {
    pushChildren(product_.content, below_, stack);
  }
  while (!stack.empty()) {
    Child child = stack.back();
    stack.pop_back();
    if (!model_.countPlace()) return;
    if (!isGrouping(child.ref.data().kind)) {
      children_.push_back(child);
      continue;
    }
    Matrix matrix = child.inherited.transform == nullptr ? kIdentity : *child.inherited.transform;
    if (model_.applyAttributes(child.ref, child.inherited, matrix))
      child.inherited.transform = model_.keep(matrix);
    pushChildren(child.ref, child.inherited, stack);
  }
}

// The last child first, so that the first is on top. Left out: what is hidden, and grouping nodes without
// anything to show.
void AssemblyObject::pushChildren(NodeRef parent, const Inherited& inherited,
                                  std::vector<Child>& stack) const {
  const SceneGraph& graph = parent.document().graph;
  const Node& node = parent.data();
  for (std::uint32_t i = node.children.count; i-- > 0;) {
    const std::uint32_t index = graph.children[node.children.first + i];
    if (!isShown(graph, index)) continue;
    const Node& child = graph.nodes[index];
    if (isGrouping(child.kind) && child.product_count == 0) continue;
    if (isLod(child.kind) && !child.has_shapes) continue;
    if (node.kind == NodeKind::Switch && index != graph.selectedChild(node)) continue;
    if (child.kind == NodeKind::Instance) {
      const std::uint32_t target = graph.children[child.children.first];
      if (target < graph.nodes.size() && !isShown(graph, target)) continue;
    }
    stack.push_back({{parent.way, index}, inherited, nullptr});
  }
}

InstanceObject::InstanceObject(Model& model, Product product, Met met, const Inherited& inherited)
    : HierarchyObject(model, std::move(product), met, inherited) {
  Inherited own;
  Matrix unused = kIdentity;
  model_.applyAttributes(product_.top(), own, unused);
  own_material_ = own.material;
}

JtkHierarchy* InstanceObject::getReferencedNode() {
  if (referenced_ != nullptr) return referenced_;
  const NodeRef ref = product_.top();
  Document& document = ref.document();
  const std::uint32_t target = document.graph.children[ref.data().children.first];
  if (below_.instance_depth >= Model::kMaxInstanceDepth) {
    const std::string label = document.nearestLabel(ref.node);
    if (document.reported.insert(ref.node).second) {
      model_.library().lost(
          label, loftbay::host::toHostPath(document.path) + ": instances are nested more than " +
                     std::to_string(Model::kMaxInstanceDepth) + " deep; what is below is left out");
    }
    referenced_ = model_.placeEmpty(ref, label);
  } else if (target >= document.graph.nodes.size()) {
    referenced_ = model_.placeEmpty(ref, document.nearestLabel(ref.node));
  } else {
    Inherited inherited = below_;
    ++inherited.instance_depth;
    model_.countPlace();
    referenced_ = model_.place({ref.way, target}, Met::AsTarget, inherited);
    const auto* part = dynamic_cast<const PartObject*>(referenced_);
    if (part != nullptr && part->isMoved()) model_.noteOwnTransform(name());
  }
  return referenced_;
}

std::string InstanceObject::name() {
  std::string own = ownName();
  if (!own.empty()) return own;
  char* text = nullptr;
  int length = 0;
  getReferencedNode()->getName().getString(text, length);
  std::string name(text, static_cast<std::size_t>(length));
  JtkEntityFactory::deleteMemory(text);
  return name;
}

}  // namespace jttk
