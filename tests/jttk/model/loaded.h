// A model that a test built, loaded from memory, with what the toolkit said meanwhile.
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "jttk/interface/object_factory.h"
#include "samples/maker/pieces/graph_builder.h"
#include "tests/jttk/model/walk.h"

namespace jttk::testing {

using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::GraphBuilder;
using loftbay::maker::pieces::Ids;

// A file of one part, node 1, with these children.
inline GraphBuilder partOf(const Ids& children) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("part");
  graph.part(1, children);
  return graph;
}

class Loaded {
 public:
  // `path` names the file only; it does not exist.
  explicit Loaded(const GraphBuilder& graph, const std::string& path = "folder\\machine.jt")
      : bytes_(graph.file()) {
    auto document = openDocument(path, bytes_);
    if (document) {
      root_ = createRoot(std::move(*document));
      root_->ref();
    } else {
      ADD_FAILURE() << document.error().text();
    }
  }
  ~Loaded() {
    if (root_ != nullptr) root_->unref();
  }
  Loaded(const Loaded&) = delete;
  Loaded& operator=(const Loaded&) = delete;

  [[nodiscard]] JtkHierarchy* root() const { return root_; }
  // The node at a path below the root, as indices of children; instances are passed through.
  [[nodiscard]] JtkHierarchy* at(std::initializer_list<int> places) const {
    JtkHierarchy* node = root_;
    for (const int place : places) node = static_cast<JtkAssembly*>(target(node))->getChild(place);
    return node;
  }
  static JtkHierarchy* target(JtkHierarchy* node) {
    if (node->typeID() != JtkEntity::JtkINSTANCE) return node;
    return static_cast<JtkInstance*>(node)->getReferencedNode();
  }
  // Ends the model, at which notes with counts are reported.
  void close() {
    if (root_ != nullptr) root_->unref();
    root_ = nullptr;
  }
  // Walked::nodes of the whole model.
  [[nodiscard]] std::vector<std::string> tree() const { return walk(root_).nodes; }

  Recorder recorder;

 private:
  Bytes bytes_;
  JtkHierarchy* root_ = nullptr;
};

// Null when the node has none.
inline JtkMaterial* materialOf(JtkHierarchy* node) {
  JtkMaterial* material = nullptr;
  node->getMaterial(material);
  return material;
}

// Red of the diffuse colour; -1 without a material.
inline float redOf(JtkMaterial* material) {
  if (material == nullptr) return -1;
  float* rgba = nullptr;
  material->getDiffuseColor(rgba);
  return rgba[0];
}

// Of the material that a node answers.
inline float redOf(JtkHierarchy* node) { return redOf(materialOf(node)); }

// Elements of a node's transform; empty when it has none.
inline std::vector<float> transformOf(JtkHierarchy* node) {
  JtkTransform* transform = nullptr;
  node->getTransform(transform);
  if (transform == nullptr) return {};
  float* elements = nullptr;
  transform->getMatrixElements(elements);
  return {elements, elements + 16};
}

// Where a node's transform moves the origin; empty when it has none.
inline std::vector<float> moveOf(JtkHierarchy* node) {
  const std::vector<float> elements = transformOf(node);
  if (elements.empty()) return {};
  return {elements[12], elements[13], elements[14]};
}

inline JtkShape* shapeOf(JtkHierarchy* part, int level, int index) {
  JtkShape* shape = nullptr;
  static_cast<JtkPart*>(part)->getShape(shape, level, index);
  return shape;
}

}  // namespace jttk::testing
