// Parts as the interface hands them out.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "jttk/interface/hierarchy.h"
#include "jttk/interface/shape_object.h"
#include "jttk/model/part.h"

namespace jttk {

class PartObject final : public HierarchyObject<JtkPart, JtkEntity::JtkPART> {
 public:
  PartObject(Objects& objects, Product product, Reached reached, const Inherited& inherited);
  // A part without levels.
  PartObject(Objects& objects, NodeRef near, std::string name);
  ~PartObject() override;

  void wasLeft() override;
  void getMaterial(JtkMaterial*& material) override;
  // Whether getMaterial answers one that the file gives, and not the grey one.
  [[nodiscard]] bool hasMaterialInForce() const { return below_.material != MaterialStates::kEmpty; }
  [[nodiscard]] int numShapeLODs() override;
  [[nodiscard]] int numShapes(int level) override;
  void getShape(JtkShape*& shape, int level, int index) override;
  [[nodiscard]] int requiresTessellation() override;
  int tessellate(JtkTessParams* parameters, JtkEntityList*& results) override;

  [[nodiscard]] Part& part() { return part_; }

 private:
  [[nodiscard]] std::string name() override { return part_.name(); }
  ShapeObject& shapeObject(std::size_t level, std::size_t index, const std::string& part_name);

  Part part_;
  // Those that were asked for, by level and index.
  std::vector<std::vector<ShapeObject*>> shapes_;
};

}  // namespace jttk
