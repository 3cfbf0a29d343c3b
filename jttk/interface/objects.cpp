#include "jttk/interface/objects.h"

#include <cmath>
#include <limits>

#include "jttk/interface/converter_rules.h"

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

Objects::~Objects() {
  for (JtkHierarchy* object : objects_) object->unref();
}

JtkHierarchy* Objects::hold(JtkHierarchy* object) {
  object->ref();
  objects_.push_back(object);
  return object;
}

JtkHierarchy* Objects::occurrence(NodeRef ref, Reached reached, const Inherited& inherited) {
  const PartKey key{&ref.document(),
                    ref.node,
                    reached,
                    inherited.material,
                    inherited.transform_is_final,
                    inherited.transform == nullptr ? kIdentity : makeComparable(*inherited.transform)};
  if (const auto known = parts_.find(key); known != parts_.end()) return known->second;
  JtkHierarchy* object = hold(make(ref, reached, inherited));
  if (object->typeID() == JtkEntity::JtkPART) parts_.emplace(key, object);
  return object;
}

JtkHierarchy* Objects::emptyPart(NodeRef near, std::string name) {
  return hold(makeEmpty(near, std::move(name)));
}

JtkMaterial* Objects::material(MaterialStates::State state) {
  const MaterialValues* values = model_.materials().values(state);
  return values == nullptr ? nullptr : &materials_.try_emplace(state, *values).first->second;
}

JtkMaterial* Objects::grey() {
  if (!grey_) grey_ = std::make_unique<MaterialObject>(builtInGrey());
  return grey_.get();
}

void Objects::noteName(const std::string& name, const Part& part) {
  const Part& first = *first_of_name_.try_emplace(name, &part).first->second;
  if (&first != &part && !part.looksLike(first)) {
    model_.library().notes().add(ModelNotes::Kind::SameName, name);
  }
}

}  // namespace jttk
