// A node of one of a model's files, with the files through which it was reached.
#pragma once

#include <cstdint>

#include "jttk/model/document.h"

namespace jttk {

// The chain of files through which a node was reached, innermost first. A file that refers to one of its own
// chain would close a cycle.
struct FileChain {
  Document* document = nullptr;
  const FileChain* above = nullptr;
};

struct NodeRef {
  const FileChain* file = nullptr;
  std::uint32_t node = kNone;

  [[nodiscard]] Document& document() const { return *file->document; }
  [[nodiscard]] const Node& data() const { return file->document->graph.nodes[node]; }
};

// How a node was reached: as a child of an assembly, or as the target of an instance. A group or partition
// that an instance refers to is an assembly.
enum class Reached : std::uint8_t { AsChild, AsTarget };

// How the root of a file counts as reached when nothing is above it.
[[nodiscard]] inline Reached rootReached(NodeRef root) {
  return isGrouping(root.data().kind) ? Reached::AsTarget : Reached::AsChild;
}

}  // namespace jttk
