// What the nodes of scene graphs are in the product structure that people see: assemblies, parts and
// instances. Groups, switches, levels of detail and references to other files are no nodes of their own; a
// partition and its single assembly or part are one.
#pragma once

#include <string>
#include <vector>

#include "jttk/model/document.h"

namespace jttk {

class Library;

// The files on the way to a node, the nearest first; a file that is on its own way refers to itself.
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
  // The nodes that are one in the product structure, from the top. Their attributes add up in this order;
  // grouping nodes may stand in between.
  std::vector<NodeRef> chain;
  // Where the contents hang. `node` is kNone where there are none.
  NodeRef content;
  // The contents begin with `content` itself, not with its children.
  bool content_is_child = false;

  // The top of the chain or, where there is none, the content: what a name is remembered under.
  [[nodiscard]] NodeRef top() const { return chain.empty() ? content : chain.front(); }
  // The name that the file gives: that of the first node of the chain (grouping nodes aside) that has one.
  [[nodiscard]] std::string ownName() const;
  // The name of the lowest grouping node of the chain; empty when none has one.
  [[nodiscard]] std::string groupName() const;
};

// How a node is met: as something below an assembly, or as what an instance refers to. A group or partition
// that an instance refers to is an assembly.
enum class Met : std::uint8_t { AsChild, AsTarget };

// How the root of a file is met when nothing is above it.
[[nodiscard]] inline Met rootMet(NodeRef root) {
  return isGrouping(root.data().kind) ? Met::AsTarget : Met::AsChild;
}

// `ref` must not be hidden. For grouping nodes only with Met::AsTarget.
Product classify(NodeRef ref, Met met, Library& library);

// Whether a link leads to a node that is shown.
[[nodiscard]] bool isShown(const SceneGraph& graph, std::uint32_t node);

}  // namespace jttk
