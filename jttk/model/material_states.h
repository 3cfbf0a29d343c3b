// Materials combine along the path from the root: the lower one replaces the upper field by field, unless a
// field is final above or inhibited below. The result of a path is a state; paths with the same result share
// one, and the handle is one number, so that a node can hold it at no cost.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <tuple>

#include "jttk/graph/scene_graph.h"

namespace jttk {

class MaterialStates {
 public:
  using State = std::uint32_t;
  // No material so far.
  static constexpr State kEmpty = 0;

  MaterialStates() { states_.emplace_back(); }
  MaterialStates(const MaterialStates&) = delete;
  MaterialStates& operator=(const MaterialStates&) = delete;

  // The state below a node that lists `attribute` (a material of `graph`), where `above` was in force.
  // `graph` is identified by its address and must outlive this object.
  State apply(State above, const SceneGraph& graph, std::uint32_t attribute);

  // Whether the materials in force are the same.
  [[nodiscard]] bool areEqual(State a, State b) const;
  // The material in force in a state; null in kEmpty. It stays where it is as long as this object lives.
  [[nodiscard]] const MaterialValues* values(State state) const;

 private:
  struct Values {
    MaterialValues material;
    bool present = false;
    std::uint32_t final_fields = 0;
  };
  struct StepKey {
    State above;
    const SceneGraph* graph;
    std::uint32_t attribute;
    bool operator<(const StepKey& other) const {
      return std::tie(above, graph, attribute) < std::tie(other.above, other.graph, other.attribute);
    }
  };

  std::deque<Values> states_;
  std::map<StepKey, State> steps_;
};

}  // namespace jttk
