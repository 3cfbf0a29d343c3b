#include "jttk/interface/traverser.h"

#include <vector>

#include "diag/program_seams.h"
#include "jttk/interface/objects.h"
#include "jttk/interface/settings.h"

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

// Tells the observer what the files state of the node, before its callback.
void tellProperties(JtkEntity& node) {
  if (!settings().node_properties) return;
  auto* entered = dynamic_cast<ModelNode*>(&node);
  if (entered == nullptr) return;
  const std::vector<TextProperty> properties = entered->properties();
  std::vector<loftbay::diag::NodeProperty> told;
  told.reserve(properties.size());
  for (const TextProperty& property : properties) told.push_back({property.key, property.value});
  loftbay::diag::programSeams().observer->entered(told);
}

}  // namespace

bool Traverser::enter(JtkEntity& node, int depth, int client_data) {
  tellProperties(node);
  return enter_ == nullptr || enter_(&node, depth, client_data) == 1;
}

void Traverser::traverse(JtkEntity* root, int client_data) {
  if (root == nullptr) return;
  std::vector<Step> steps;
  const auto depth = [&] { return static_cast<int>(steps.size()) - 1; };
  steps.push_back({root, 0});
  if (!enter(*root, 0, client_data)) return;
  while (!steps.empty()) {
    if (JtkEntity* next = child(steps.back())) {
      ++steps.back().next_child;
      steps.push_back({next, 0});
      if (!enter(*next, depth(), client_data)) return;
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
