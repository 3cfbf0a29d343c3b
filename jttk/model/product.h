// What the nodes of scene graphs are in the product structure that people see: assemblies, parts and
// instances. Groups, switches, levels of detail and references to other files are no nodes of their own; a
// partition and its single assembly or part are one.
#pragma once

#include <string>
#include <vector>

#include "jttk/model/document.h"

namespace jttk {

class Library;

// The chain of files through which a node was reached, innermost first. A file that refers to one of its own
// chain would close a cycle.
struct FileWay {
  Document* document = nullptr;
  const FileWay* above = nullptr;
};

struct NodeRef {
  const FileWay* way = nullptr;
  std::uint32_t node = kNone;

  [[nodiscard]] Document& document() const { return *way->document; }
  [[nodiscard]] const Node& data() const { return way->document->graph.nodes[node]; }
};

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

// How a node was reached: as a child of an assembly, or as the target of an instance. A group or partition
// that an instance refers to is an assembly.
enum class Met : std::uint8_t { AsChild, AsTarget };

// How the root of a file counts as reached when nothing is above it.
[[nodiscard]] inline Met rootMet(NodeRef root) {
  return isGrouping(root.data().kind) ? Met::AsTarget : Met::AsChild;
}

// `ref` must not be hidden. For grouping nodes only with Met::AsTarget.
Product classify(NodeRef ref, Met met, Library& library);

}  // namespace jttk
