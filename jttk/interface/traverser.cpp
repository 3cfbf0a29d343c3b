#include "jttk/interface/traverser.h"

#include <vector>

#include "jttk/interface/objects.h"

namespace jttk {

namespace {

struct Step {
  JtkEntity* node;
  int next_child;
};

JtkEntity* child(const Step& step) {
  if (step.node->typeID() != JtkEntity::JtkASSEMBLY) return nullptr;
  const auto* assembly = static_cast<const JtkAssembly*>(step.node);
  return step.next_child < assembly->numChildren() ? assembly->getChild(step.next_child) : nullptr;
}

}  // namespace

void Traverser::traverse(JtkEntity* root, int client_data) {
  if (root == nullptr) return;
  std::vector<Step> steps;
  const auto depth = [&] { return static_cast<int>(steps.size()) - 1; };
  steps.push_back({root, 0});
  if (enter_ != nullptr && enter_(root, 0, client_data) != 1) return;
  while (!steps.empty()) {
    if (JtkEntity* next = child(steps.back())) {
      ++steps.back().next_child;
      steps.push_back({next, 0});
      if (enter_ != nullptr && enter_(next, depth(), client_data) != 1) return;
      continue;
    }
    JtkEntity* node = steps.back().node;
    if (leave_ != nullptr && leave_(node, depth(), client_data) != 1) return;
    // The arrays of the shapes that were looked at meanwhile are not needed any more.
    if (auto* left = dynamic_cast<ModelNode*>(node);
        left != nullptr && node->typeID() != JtkEntity::JtkASSEMBLY) {
      left->wasLeft();
    }
    steps.pop_back();
  }
}

}  // namespace jttk
