#include "jttk/model/material_states.h"

namespace jttk {

namespace {

// Numbers of the fields in the masks of inhibited and final fields. (No file seen so far sets any.)
constexpr std::uint32_t kAmbient = 1U << 0U;
constexpr std::uint32_t kSpecular = 1U << 1U;
constexpr std::uint32_t kEmission = 1U << 2U;
constexpr std::uint32_t kDiffuseColor = 1U << 6U;
constexpr std::uint32_t kDiffuseAlpha = 1U << 7U;
constexpr std::uint32_t kShininess = 1U << 8U;
constexpr std::uint32_t kAllFields = 0xffffffffU;

void take(MaterialValues& material, const MaterialValues& from, std::uint32_t fields) {
  if ((fields & kAmbient) != 0) material.ambient = from.ambient;
  if ((fields & kSpecular) != 0) material.specular = from.specular;
  if ((fields & kEmission) != 0) material.emission = from.emission;
  if ((fields & kDiffuseColor) != 0) {
    for (std::size_t i = 0; i < 3; ++i) material.diffuse[i] = from.diffuse[i];
  }
  if ((fields & kDiffuseAlpha) != 0) material.diffuse[3] = from.diffuse[3];
  if ((fields & kShininess) != 0) material.shininess = from.shininess;
}

}  // namespace

MaterialStates::State MaterialStates::apply(State above, const SceneGraph& graph, std::uint32_t index) {
  const Attribute& attribute = graph.attributes[index];
  if ((attribute.state & Attribute::kIgnore) != 0) return above;
  // If all fields are replaced, the state above is irrelevant: kEmpty, so that all paths share one state.
  if (attribute.inhibited_fields == 0 && states_[above].final_fields == 0) above = kEmpty;
  const StepKey key{above, &graph, index};
  if (const auto known = steps_.find(key); known != steps_.end()) return known->second;

  const Values& upper = states_[above];
  const bool forced = (attribute.state & Attribute::kForce) != 0;
  const std::uint32_t closed = forced ? 0 : upper.final_fields;
  // Fields that are not set yet come from the first material whatever it inhibits: there is no other value.
  const std::uint32_t fields = upper.present ? ~attribute.inhibited_fields & ~closed : kAllFields;
  State result = above;
  if (fields != 0) {
    Values lower;
    lower.material = upper.material;
    lower.present = true;
    take(lower.material, graph.materials[attribute.value], fields);
    lower.final_fields = upper.final_fields | attribute.final_fields;
    if ((attribute.state & Attribute::kFinal) != 0) lower.final_fields = kAllFields;
    result = static_cast<State>(states_.size());
    states_.push_back(std::move(lower));
  }
  steps_.emplace(key, result);
  return result;
}

bool MaterialStates::areEqual(State a, State b) const {
  const Values& one = states_[a];
  const Values& other = states_[b];
  return a == b || (one.present == other.present && one.final_fields == other.final_fields &&
                    one.material == other.material);
}

const MaterialValues* MaterialStates::values(State state) const {
  const Values& values = states_[state];
  return values.present ? &values.material : nullptr;
}

}  // namespace jttk
