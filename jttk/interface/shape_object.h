// A shape that the interface hands out. It holds the decoded arrays while its part is visited, and gets them
// again if it is asked later.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "jttk/interface/objects.h"
#include "jttk/model/part.h"

namespace jttk {

class ShapeObject final : public JtkShape, public Holder {
 public:
  // What the nodes on the path to a shape give it; null where they give none.
  struct FromAbove {
    const Matrix* transform = nullptr;
    JtkMaterial* material = nullptr;
  };
  ShapeObject(Objects& objects, NodeRef node, std::string part_name, FromAbove from_above);
  // A part's exact geometry in one occurrence: `part` provides the arrays on demand.
  ShapeObject(Objects& objects, Part& part, JtkMaterial* material);
  // A tessellated part, which holds its arrays to its end. Its strips have an odd number of corners;
  // getPrimitiveSetGeometry hands them out backwards, so that they turn over.
  ShapeObject(Objects& objects, std::shared_ptr<const ShapeArrays> arrays);

  [[nodiscard]] TypeID typeID() const override { return type_; }
  [[nodiscard]] int isOfType(TypeID type) const override { return type == type_ ? 1 : 0; }
  [[nodiscard]] int getPrimitiveSetCount() const override { return primitive_count_; }
  int getPrimitiveSetArrays(int set_index, float*& vertices, int& vertex_count, float*& normals,
                            int& normal_count, float*& colors, int& color_count, float*& texture_coordinates,
                            int& texture_coordinate_count) override;
  int getPrimitiveSetGeometry(int set_index, float*& vertices, int& vertex_count, float*& normals,
                              int& normal_count) override;
  void getShapeMaterial(JtkMaterial*& material) override { material = from_above_.material; }
  [[nodiscard]] std::shared_ptr<const void> decodedArrays() const override { return arrays_; }

  // Makes sure that the arrays are there. False when the shape cannot be decoded.
  bool acquire();
  void release() override { arrays_.reset(); }
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
  // Where the caller wants the copies, and their numbers.
  struct GeometryCopies {
    float*& vertices;
    int& vertex_count;
    float*& normals;
    int& normal_count;
  };
  int copyGeometry(int set_index, bool backwards, const GeometryCopies& copies);

  Objects& objects_;
  NodeRef node_;
  Part* part_ = nullptr;  // of exact geometry
  bool turned_ = false;   // geometry is handed out backwards
  std::string part_name_;
  FromAbove from_above_;
  TypeID type_ = JtkSHAPE;
  int primitive_count_ = 0;
  std::shared_ptr<const ShapeArrays> arrays_;
};

}  // namespace jttk
