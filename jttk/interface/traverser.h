// Walks a product structure: assemblies depth first, parts and instances are leaves.
#pragma once

#include "jttk/interface/jttk.h"

namespace jttk {

class Traverser final : public JtkTraverser {
 public:
  void setPreActionCallback(JtkTraversalCallback callback) override { enter_ = callback; }
  void setPostActionCallback(JtkTraversalCallback callback) override { leave_ = callback; }
  // A callback that does not answer 1 ends the walk.
  void traverse(JtkEntity* root, int client_data) override;

 private:
  // Whether the walk goes on.
  bool enter(JtkEntity& node, int depth, int client_data);

  JtkTraversalCallback enter_ = nullptr;
  JtkTraversalCallback leave_ = nullptr;
};

}  // namespace jttk
