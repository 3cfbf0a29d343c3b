// A shape that the interface hands out. It holds the decoded arrays while its part is visited, and gets them
// again if it is asked later.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "jttk/model/model.h"

namespace jttk {

class PartObject;

class ShapeObject final : public JtkShape {
 public:
  ShapeObject(Model& model, NodeRef node, std::string part_name, const Matrix* transform,
              JtkMaterial* material);
  // A part's exact geometry in one occurrence: `part` provides the arrays on demand.
  ShapeObject(Model& model, PartObject& part, JtkMaterial* material);
  // A shape of its own, which holds its arrays to its end. Its strips have an odd number of corners;
  // getPrimitiveSetGeometry hands them out backwards, so that they turn over.
  ShapeObject(Model& model, std::shared_ptr<const ShapeArrays> arrays);

  [[nodiscard]] TypeID typeID() const override { return type_; }
  [[nodiscard]] int isOfType(TypeID type) const override { return type == type_ ? 1 : 0; }
  [[nodiscard]] int getPrimitiveSetCount() const override { return primitive_count_; }
  int getPrimitiveSetArrays(int set_index, float*& vertices, int& vertex_count, float*& normals,
                            int& normal_count, float*& colors, int& color_count, float*& texture_coordinates,
                            int& texture_coordinate_count) override;
  int getPrimitiveSetGeometry(int set_index, float*& vertices, int& vertex_count, float*& normals,
                              int& normal_count) override;
  void getShapeMaterial(JtkMaterial*& material) override { material = material_; }

  // Makes sure that the arrays are there. False when the shape cannot be decoded.
  bool acquire();
  void release() { arrays_.reset(); }
  // The arrays while they are held.
  [[nodiscard]] const ShapeArrays* arrays() const { return arrays_.get(); }

 private:
  // A stretch of the corners.
  struct Set {
    std::size_t first;
    std::size_t count;
  };
  // Nothing when there is no such set.
  std::optional<Set> set(int index);
  void takeFacts();
  int copyGeometry(int set_index, bool backwards, float*& vertices, int& vertex_count, float*& normals,
                   int& normal_count);

  Model& model_;
  NodeRef node_;
  PartObject* part_ = nullptr;  // of exact geometry
  bool turned_ = false;         // geometry is handed out backwards
  std::string part_name_;
  const Matrix* transform_;
  JtkMaterial* material_;
  TypeID type_ = JtkSHAPE;
  int primitive_count_ = 0;
  std::shared_ptr<const ShapeArrays> arrays_;
};

}  // namespace jttk
