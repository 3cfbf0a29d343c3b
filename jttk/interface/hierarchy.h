// The nodes that the interface hands out.
#pragma once

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "jttk/interface/jttk.h"
#include "jttk/interface/objects.h"
#include "jttk/interface/typed.h"
#include "jttk/model/names.h"
#include "jttk/model/node_properties.h"
#include "jttk/model/product.h"

namespace jttk {

class TransformObject final : public Typed<JtkTransform, JtkEntity::JtkTRANSFORM> {
 public:
  explicit TransformObject(const Matrix& matrix) {
    ref();
    for (std::size_t i = 0; i < elements_.size(); ++i) elements_[i] = static_cast<float>(matrix[i]);
  }
  void getMatrixElements(float*& elements) override { elements = elements_.data(); }
  [[nodiscard]] bool moves() const {
    return !std::equal(elements_.begin(), elements_.end(), kIdentity.begin());
  }

 private:
  std::array<float, 16> elements_{};
};

// What assemblies, parts and instances have in common.
template <typename Interface, JtkEntity::TypeID Type>
class HierarchyObject : public Typed<Interface, Type>, public ModelNode {
 public:
  HierarchyObject(Objects& objects, Product product, Reached reached, const Inherited& inherited)
      : objects_(objects),
        model_(objects.model()),
        product_(std::move(product)),
        reached_(reached),
        below_(inherited) {
    Matrix own = inherited.transform == nullptr ? kIdentity : *inherited.transform;
    bool has_transform = inherited.transform != nullptr;
    for (const NodeRef& ref : product_.chain) has_transform |= model_.applyAttributes(ref, below_, own);
    below_.transform = nullptr;
    if (has_transform) transform_ = std::make_unique<TransformObject>(own);
  }

  JtkString getName() override {
    const std::string text = name();
    model_.countName(text.size());
    return JtkString(text.c_str());
  }
  void getTransform(JtkTransform*& transform) override { transform = transform_.get(); }
  void getMaterial(JtkMaterial*& material) override { material = objects_.material(materialState()); }
  [[nodiscard]] bool isMoved() const override { return transform_ != nullptr && transform_->moves(); }
  void wasLeft() override { model_.releaseShapes(); }
  [[nodiscard]] std::vector<TextProperty> properties() override {
    std::vector<TextProperty> properties = propertiesOf(product_, model_.library());
    addInherited(properties);
    std::size_t bytes = 0;
    for (const TextProperty& property : properties) bytes += property.key.size() + property.value.size();
    model_.countName(bytes);
    return properties;
  }
  [[nodiscard]] Objects& objects() override { return objects_; }

  // The root owns all objects and the model; they hold the other nodes.
  void own(std::unique_ptr<Objects> objects) { owned_ = std::move(objects); }

  [[nodiscard]] const Product& product() const { return product_; }

 protected:
  [[nodiscard]] virtual std::string name() { return productName(product_, reached_, model_.library()); }
  virtual void addInherited(std::vector<TextProperty>& /*properties*/) {}
  // The material that getMaterial answers.
  [[nodiscard]] virtual MaterialStates::State materialState() { return below_.material; }

  // NOLINTBEGIN: one place for what the three kinds of node share
  Objects& objects_;
  Model& model_;
  Product product_;
  Reached reached_;
  Inherited below_;  // what goes on to the nodes below
  std::unique_ptr<TransformObject> transform_;
  // NOLINTEND

 private:
  std::unique_ptr<Objects> owned_;
};

class AssemblyObject final : public HierarchyObject<JtkAssembly, JtkEntity::JtkASSEMBLY> {
 public:
  AssemblyObject(Objects& objects, Product product, Reached reached, const Inherited& inherited);
  [[nodiscard]] int numChildren() const override;
  [[nodiscard]] JtkHierarchy* getChild(int index) const override;

 private:
  struct Child {
    NodeRef ref;
    Inherited inherited;
    JtkHierarchy* object;
  };
  [[nodiscard]] MaterialStates::State materialState() override { return answered_material_; }
  // Position of the search for children: a grouping node and the index of its next child.
  struct Level {
    NodeRef parent;
    Inherited inherited;
    std::uint32_t next;
  };
  void expand() const;
  bool enter(NodeRef ref, Inherited inherited, std::vector<Level>& levels) const;

  MaterialStates::State answered_material_;
  mutable bool expanded_ = false;
  mutable std::vector<Child> children_;
};

class InstanceObject final : public HierarchyObject<JtkInstance, JtkEntity::JtkINSTANCE> {
 public:
  InstanceObject(Objects& objects, Product product, Reached reached, const Inherited& inherited);
  [[nodiscard]] JtkHierarchy* getReferencedNode() override;
  // The name that the file gives the instance; empty when it gives none.
  [[nodiscard]] std::string ownName() const { return product_.ownName(); }

 private:
  [[nodiscard]] std::string name() override;
  [[nodiscard]] MaterialStates::State materialState() override { return own_material_; }
  void addInherited(std::vector<TextProperty>& properties) override;

  MaterialStates::State own_material_;
  JtkHierarchy* referenced_ = nullptr;
};

}  // namespace jttk
