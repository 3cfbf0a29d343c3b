// The interface's objects for the nodes of one model. They are created on demand, one per occurrence, because
// a shared node can have another material in each, and live as long as the root.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "jttk/interface/jttk.h"
#include "jttk/interface/material_object.h"
#include "jttk/model/model.h"
#include "jttk/model/part.h"

namespace jttk {

class Objects {
 public:
  explicit Objects(std::unique_ptr<Document> main) : model_(std::move(main)) {}
  virtual ~Objects();
  Objects(const Objects&) = delete;
  Objects& operator=(const Objects&) = delete;

  [[nodiscard]] Model& model() { return model_; }

  // The object for one occurrence of a node. A part that occurs again with the same inherited state is the
  // same object, so that the converter can tell that it is one part.
  JtkHierarchy* occurrence(NodeRef ref, Reached reached, const Inherited& inherited);
  // A part without levels for something that cannot be had.
  JtkHierarchy* emptyPart(NodeRef near, std::string name);

  // The object for the material in force in a state; null where there is none. The same one every time.
  JtkMaterial* material(MaterialStates::State state);
  // For parts without a material in a model where others have one.
  JtkMaterial* grey();

  // Called for each part that the walk leaves. The converter uses the first part of a name for all of them;
  // parts that look different are counted for a note.
  void noteName(const std::string& name, const Part& part);

 private:
  // What decides how an occurrence of a part looks.
  struct PartKey {
    Document* document;
    std::uint32_t node;
    Reached reached;
    MaterialStates::State material;
    bool transform_is_final;
    Matrix transform;  // comparable: see makeComparable
    bool operator<(const PartKey& other) const {
      return std::tie(document, node, reached, material, transform_is_final, transform) <
             std::tie(other.document, other.node, other.reached, other.material, other.transform_is_final,
                      other.transform);
    }
  };

  // The object of the right class (object_factory.cpp).
  virtual JtkHierarchy* make(NodeRef ref, Reached reached, const Inherited& inherited) = 0;
  virtual JtkHierarchy* makeEmpty(NodeRef near, std::string name) = 0;
  JtkHierarchy* hold(JtkHierarchy* object);

  Model model_;
  std::vector<JtkHierarchy*> objects_;
  std::map<PartKey, JtkHierarchy*> parts_;
  std::map<MaterialStates::State, MaterialObject> materials_;
  std::unique_ptr<MaterialObject> grey_;
  std::unordered_map<std::string, const Part*> first_of_name_;
};

// What all nodes of a model have in common behind the interface.
class ModelNode {
 public:
  // Told by the traverser when it has left the node.
  virtual void wasLeft() = 0;
  // What the files state of it; an instance adds what they state of its target and not of itself.
  [[nodiscard]] virtual std::vector<TextProperty> properties() = 0;
  // Whether it has a transform that moves something.
  [[nodiscard]] virtual bool isMoved() const = 0;
  [[nodiscard]] virtual Objects& objects() = 0;
  [[nodiscard]] Model& model() { return objects().model(); }

 protected:
  ~ModelNode() = default;
};

}  // namespace jttk
