#include "jttk/interface/hierarchy.h"

#include <algorithm>

#include "host/path.h"
#include "jttk/graph/shown_children.h"

namespace jttk {

AssemblyObject::AssemblyObject(Objects& objects, Product product, Reached reached, const Inherited& inherited)
    : HierarchyObject(objects, std::move(product), reached, inherited), answered_material_(below_.material) {
  Inherited own = reached_ == Reached::AsTarget ? below_ : Inherited{};
  Matrix unused = kIdentity;
  if (product_.content_is_child && product_.content.data().kind != NodeKind::Instance) {
    // A group that an instance refers to: its transform goes to the nodes below, its material is its own too.
    model_.applyAttributes(product_.content, own, unused);
  } else if (reached_ == Reached::AsChild) {
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
  if (!model_.hasRoom()) return nullptr;
  if (child.object == nullptr)
    child.object = objects_.occurrence(child.ref, Reached::AsChild, child.inherited);
  return child.object;
}

// Finds the children, through grouping nodes, in the order of the file.
void AssemblyObject::expand() const {
  if (expanded_) return;
  expanded_ = true;
  if (product_.content.node == kNone) return;
  std::vector<Level> levels;
  if (product_.content_is_child) {
    if (!enter(product_.content, below_, levels)) return;
  } else {
    levels.push_back({product_.content, below_, 0});
  }
  while (!levels.empty()) {
    Level& level = levels.back();
    const SceneGraph& graph = level.parent.document().graph;
    const Node& node = level.parent.data();
    if (level.next == node.children.count) {
      levels.pop_back();
      continue;
    }
    const std::uint32_t index = graph.children[node.children.first + level.next++];
    if (!isShownChild(graph, node, index) || !hasContents(graph.nodes[index])) {
      if (!model_.library().spend(1) && !model_.hasRoom()) return;
    } else if (!enter({level.parent.file, index}, level.inherited, levels)) {
      return;
    }
  }
}

// Takes a child, or goes on to those of a grouping node. False when the budget has no room for it.
bool AssemblyObject::enter(NodeRef ref, Inherited inherited, std::vector<Level>& levels) const {
  if (!model_.countOccurrence(ref)) return false;
  if (!isGrouping(ref.data().kind)) {
    children_.push_back({ref, inherited, nullptr});
    return true;
  }
  Matrix matrix = inherited.transform == nullptr ? kIdentity : *inherited.transform;
  if (model_.applyAttributes(ref, inherited, matrix)) inherited.transform = model_.keep(matrix);
  levels.push_back({ref, inherited, 0});
  return true;
}

InstanceObject::InstanceObject(Objects& objects, Product product, Reached reached, const Inherited& inherited)
    : HierarchyObject(objects, std::move(product), reached, inherited) {
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
    referenced_ = objects_.emptyPart(ref, label);
  } else if (target >= document.graph.nodes.size()) {
    referenced_ = objects_.emptyPart(ref, document.nearestLabel(ref.node));
  } else {
    Inherited inherited = below_;
    ++inherited.instance_depth;
    if (!model_.countOccurrence({ref.file, target})) return referenced_ = objects_.emptyPart(ref, ownName());
    referenced_ = objects_.occurrence({ref.file, target}, Reached::AsTarget, inherited);
    const bool is_part = referenced_->typeID() == JtkEntity::JtkPART;
    if (is_part && dynamic_cast<const ModelNode&>(*referenced_).isMoved()) model_.noteOwnTransform(name());
  }
  return referenced_;
}

void InstanceObject::addInherited(std::vector<TextProperty>& properties) {
  addMissing(properties, dynamic_cast<ModelNode&>(*getReferencedNode()).properties());
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
