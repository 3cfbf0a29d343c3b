#include "jttk/interface/part.h"

#include "jttk/interface/converter_rules.h"
#include "jttk/interface/entity_list.h"
#include "jttk/interface/tess_params.h"

namespace jttk {

PartObject::PartObject(Objects& objects, Product product, Reached reached, const Inherited& inherited)
    : HierarchyObject(objects, std::move(product), reached, inherited),
      part_(model_, product_, reached, below_) {
  if (offersExactAsLevel(reached)) part_.offerExactAsLevel();
}

PartObject::PartObject(Objects& objects, NodeRef near, std::string name)
    : PartObject(objects, Product{ProductKind::Part, {}, {near.file, kNone}, false}, Reached::AsChild, {}) {
  part_.setName(std::move(name));
}

PartObject::~PartObject() {
  for (const auto& level : shapes_) {
    for (ShapeObject* shape : level) {
      if (shape != nullptr) shape->unref();
    }
  }
}

void PartObject::wasLeft() {
  HierarchyObject::wasLeft();
  objects_.noteName(name(), part_);
}

void PartObject::getMaterial(JtkMaterial*& material) {
  material = objects_.material(part_.materialInForce());
  if (material == nullptr && model_.hasMaterials()) material = objects_.grey();
}

int PartObject::numShapeLODs() { return static_cast<int>(part_.levels().size()); }

int PartObject::numShapes(int level) {
  if (level < 0 || level >= numShapeLODs()) return 0;
  return static_cast<int>(part_.levels()[static_cast<std::size_t>(level)].size());
}

ShapeObject& PartObject::shapeObject(std::size_t level, std::size_t index, const std::string& part_name) {
  if (shapes_.size() <= level) shapes_.resize(level + 1);
  if (shapes_[level].size() <= index) shapes_[level].resize(part_.levels()[level].size());
  ShapeObject*& object = shapes_[level][index];
  if (object == nullptr) {
    const ShapeOccurrence& shape = part_.levels()[level][index];
    JtkMaterial* material = shape.has_own_material ? objects_.material(shape.material) : nullptr;
    object = shape.is_exact ? new ShapeObject(objects_, part_, material)
                            : new ShapeObject(objects_, shape.ref, part_name, {shape.transform, material});
    object->ref();
  }
  return *object;
}

void PartObject::getShape(JtkShape*& shape, int level, int index) {
  shape = nullptr;
  if (index < 0 || index >= numShapes(level)) return;
  // Each call is one more occurrence of the shape in the scene.
  const std::string part_name = name();
  model_.countName(part_name.size());
  if (!model_.countShape()) return;
  ShapeObject& object =
      shapeObject(static_cast<std::size_t>(level), static_cast<std::size_t>(index), part_name);
  if (!object.acquire()) return;
  if (model_.countCorners(object.arrays()->geometry.corner_positions.size())) {
    shape = &object;
    return;
  }
  const NodeRef& ref = part_.levels()[static_cast<std::size_t>(level)][static_cast<std::size_t>(index)].ref;
  // It will not fit anywhere else either; marked, so that it is not decoded again.
  if (isShape(ref.data().kind)) ref.document().reported.insert(ref.node);
}

int PartObject::requiresTessellation() {
  if (part_.offersExactGeometry() || !part_.wantsExactGeometry() || !model_.countShape()) return 0;
  const auto arrays = part_.exactArrays(currentTessValues());
  if (!arrays || !model_.countCorners(arrays->geometry.corner_positions.size())) return 0;
  part_.noteOneColor();
  return 1;
}

int PartObject::tessellate(JtkTessParams* parameters, JtkEntityList*& results) {
  results = nullptr;
  static_cast<void>(part_.levels());
  const auto* given = static_cast<const TessParams*>(parameters);
  auto arrays = part_.exactArrays(given == nullptr ? currentTessValues() : given->values());
  if (!arrays) return 0;
  results = new EntityList({new ShapeObject(objects_, std::move(arrays))});
  return 1;
}

}  // namespace jttk
