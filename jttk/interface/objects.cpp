#include "jttk/interface/objects.h"

#include <cmath>
#include <limits>

#include "jttk/graph/shown_children.h"
#include "jttk/interface/converter_rules.h"
#include "jttk/interface/hierarchy.h"
#include "jttk/interface/part.h"

namespace jttk {

namespace {

// NaN has no order, and would equal every other number: it is replaced by the largest number.
Matrix makeComparable(const Matrix& matrix) {
  Matrix comparable = matrix;
  for (double& element : comparable) {
    if (std::isnan(element)) element = std::numeric_limits<double>::max();
  }
  return comparable;
}

}  // namespace

JtkHierarchy* Objects::create(std::unique_ptr<Document> main) {
  auto objects = std::make_unique<Objects>(std::move(main));
  const FileWay* way = objects->model_.library().mainWay();
  const NodeRef root{way, way->document->graph.root};
  Objects& owned = *objects;  // the root takes the pointer
  JtkHierarchy* object = owned.make(root, rootMet(root), {});
  switch (object->typeID()) {
    case JtkEntity::JtkASSEMBLY:
      static_cast<AssemblyObject*>(object)->own(std::move(objects));
      break;
    case JtkEntity::JtkINSTANCE:
      static_cast<InstanceObject*>(object)->own(std::move(objects));
      break;
    default:
      static_cast<PartObject*>(object)->own(std::move(objects));
  }
  return object;
}

Objects::~Objects() {
  for (JtkHierarchy* object : objects_) object->unref();
}

JtkHierarchy* Objects::hold(JtkHierarchy* object) {
  object->ref();
  objects_.push_back(object);
  return object;
}

JtkHierarchy* Objects::make(NodeRef ref, Met met, const Inherited& inherited) {
  Product product = isShown(ref.document().graph, ref.node)
                        ? classify(ref, met, model_.library())
                        : Product{ProductKind::Part, {}, {ref.way, kNone}, false};
  if (product.top().node == kNone) return new PartObject(*this, ref, ref.document().nearestLabel(ref.node));
  switch (product.kind) {
    case ProductKind::Assembly:
      return new AssemblyObject(*this, std::move(product), met, inherited);
    case ProductKind::Instance:
      return new InstanceObject(*this, std::move(product), met, inherited);
    case ProductKind::Part:
      break;
  }
  return new PartObject(*this, std::move(product), met, inherited);
}

JtkHierarchy* Objects::place(NodeRef ref, Met met, const Inherited& inherited) {
  const PartKey key{&ref.document(),
                    ref.node,
                    met,
                    inherited.material,
                    inherited.transform_is_final,
                    inherited.transform == nullptr ? kIdentity : makeComparable(*inherited.transform)};
  if (const auto known = parts_.find(key); known != parts_.end()) return known->second;
  JtkHierarchy* object = hold(make(ref, met, inherited));
  if (object->typeID() == JtkEntity::JtkPART) parts_.emplace(key, object);
  return object;
}

JtkHierarchy* Objects::placeEmpty(NodeRef near, std::string name) {
  return hold(new PartObject(*this, near, std::move(name)));
}

JtkMaterial* Objects::material(MaterialStates::State state) {
  const MaterialValues* values = model_.materials().values(state);
  return values == nullptr ? nullptr : &materials_.try_emplace(state, *values).first->second;
}

JtkMaterial* Objects::grey() {
  if (!grey_) grey_ = std::make_unique<MaterialObject>(builtInGrey());
  return grey_.get();
}

void Objects::noteName(const std::string& name, const PartObject& part) {
  const PartObject& first = *first_of_name_.try_emplace(name, &part).first->second;
  if (&first != &part && !part.looksLike(first)) {
    model_.library().notes().add(ModelNotes::Kind::SameName, name);
  }
}

void Objects::releaseShapes() {
  for (ShapeObject* shape : holding_) shape->release();
  holding_.clear();
  model_.releaseShapes();
}

}  // namespace jttk
