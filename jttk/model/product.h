// What the nodes of scene graphs are in the product structure that people see: assemblies, parts and
// instances. Groups, switches, levels of detail and references to other files are no nodes of their own; a
// partition and its single assembly or part are one.
#pragma once

#include <string>
#include <vector>

#include "jttk/model/node_ref.h"

namespace jttk {

class Library;

enum class ProductKind : std::uint8_t { Assembly, Part, Instance };

struct Product {
  ProductKind kind = ProductKind::Part;
  // The nodes that together form this product node (a partition and its part, say), topmost first, with the
  // grouping nodes in between. Their attributes apply in this order.
  std::vector<NodeRef> chain;
  // The node whose children (or itself, see below) are the contents; its `node` is kNone when there are none.
  NodeRef content;
  // The contents begin with `content` itself, not with its children.
  bool content_is_child = false;

  // The top of the chain or, where there is none, the content: the key under which a name is remembered.
  [[nodiscard]] NodeRef top() const { return chain.empty() ? content : chain.front(); }
  // The name that the file gives: that of the first node of the chain (grouping nodes aside) that has one.
  [[nodiscard]] std::string ownName() const;
  // The name of the lowest grouping node of the chain; empty when none has one.
  [[nodiscard]] std::string groupName() const;
};

// `ref` must not be hidden. For grouping nodes only with Reached::AsTarget.
Product classify(NodeRef ref, Reached reached, Library& library);

}  // namespace jttk
