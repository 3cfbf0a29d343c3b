#include "jttk/model/product.h"

#include <algorithm>

#include "jttk/graph/shown_children.h"
#include "jttk/model/library.h"

namespace jttk {

namespace {

// Children per node that may be inspected at no cost to the work budget.
constexpr std::uint32_t kFreeChildren = 64;

// The single node of the product structure below `ref`, through groups; `groups` receives these. A node of
// kNone when there is none or more than one.
NodeRef singleChild(NodeRef ref, std::vector<NodeRef>& groups, Library& library) {
  const Document& document = ref.document();
  for (;;) {
    const Node& node = ref.data();
    std::uint32_t only = kNone;
    int count = 0;
    for (std::uint32_t i = 0; i < node.children.count && count < 2; ++i) {
      if (i >= kFreeChildren) library.spend(1);
      const std::uint32_t child = document.graph.children[node.children.first + i];
      if (!isShownChild(document.graph, node, child)) continue;
      const int products = productsAt(document.graph.nodes[child]);
      if (products > 0) only = child;
      count += products;
    }
    if (count != 1) return {ref.file, kNone};
    ref.node = only;
    if (!isGrouping(ref.data().kind)) return ref;
    groups.push_back(ref);
  }
}

// A partition that is not a reference to another file. Where its single child is an assembly, a part or a
// loose shape they are one node; else the partition is an assembly.
Product partition(NodeRef ref, Reached reached, Product product, Library& library) {
  for (;;) {
    product.chain.push_back(ref);
    product.kind = ProductKind::Assembly;
    product.content = ref;
    if (!isShown(ref.document().graph, ref.node)) {
      product.content.node = kNone;
      return product;
    }
    std::vector<NodeRef> groups;
    const NodeRef child = singleChild(ref, groups, library);
    if (child.node == kNone) return product;
    const NodeKind kind = child.data().kind;
    const bool is_partition = kind == NodeKind::Partition && !isReference(child.document().graph, child.node);
    const bool is_part = kind == NodeKind::Part || isLod(kind) || isShape(kind);
    if (!is_partition && kind != NodeKind::MetaData && (!is_part || reached == Reached::AsTarget))
      return product;
    product.chain.insert(product.chain.end(), groups.begin(), groups.end());
    if (is_partition) {
      ref = child;
      continue;
    }
    product.content = child;
    if (is_part) product.kind = ProductKind::Part;
    if (kind == NodeKind::MetaData || kind == NodeKind::Part) {
      product.chain.push_back(child);
    } else {
      product.content_is_child = true;
    }
    return product;
  }
}

Product single(NodeRef ref, ProductKind kind) { return {kind, {ref}, ref, false}; }

}  // namespace

std::string Product::ownName() const {
  for (const NodeRef& ref : chain) {
    if (isGrouping(ref.data().kind)) continue;
    std::string label = ref.document().label(ref.node);
    if (!label.empty()) return label;
  }
  return chain.empty() && content.node != kNone ? content.document().label(content.node) : std::string();
}

std::string Product::groupName() const {
  for (auto ref = chain.rbegin(); ref != chain.rend(); ++ref) {
    if (!isGrouping(ref->data().kind)) continue;
    std::string label = ref->document().label(ref->node);
    if (!label.empty()) return label;
  }
  return {};
}

Product classify(NodeRef ref, Reached reached, Library& library) {
  switch (ref.data().kind) {
    case NodeKind::MetaData:
      return single(ref, ProductKind::Assembly);
    case NodeKind::Part:
      return single(ref, ProductKind::Part);
    case NodeKind::Instance:
      if (reached == Reached::AsChild) return single(ref, ProductKind::Instance);
      return {ProductKind::Assembly, {}, ref, true};
    case NodeKind::Partition:
      break;
    case NodeKind::Base:
    case NodeKind::Group:
    case NodeKind::Switch:
      return {ProductKind::Assembly, {}, ref, true};
    default:
      return {ProductKind::Part, {}, ref, true};
  }
  if (!isReference(ref.document().graph, ref.node)) return partition(ref, reached, {}, library);
  Product product;
  product.chain.push_back(ref);
  product.content = {ref.file, kNone};
  const FileChain* file = library.follow(ref);
  if (file == nullptr || !isShown(file->document->graph, file->document->graph.root)) return product;
  ref = {file, file->document->graph.root};
  // Another file's root is treated as if it replaced the partition.
  if (ref.data().kind == NodeKind::Partition)
    return partition(ref, Reached::AsChild, std::move(product), library);
  Product root = classify(ref, Reached::AsTarget, library);
  if (root.chain.empty()) root.content_is_child = true;
  root.chain.insert(root.chain.begin(), product.chain.begin(), product.chain.end());
  return root;
}

}  // namespace jttk
