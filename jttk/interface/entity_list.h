// A list of entities that the toolkit hands out.
#pragma once

#include <utility>
#include <vector>

#include "jttk/interface/jttk.h"
#include "jttk/interface/typed.h"

namespace jttk {

class EntityList final : public Typed<JtkEntityList, JtkEntity::JtkENTITYLIST> {
 public:
  explicit EntityList(std::vector<JtkEntity*> elements) : elements_(std::move(elements)) {
    for (JtkEntity* element : elements_) element->ref();
  }
  ~EntityList() override {
    for (JtkEntity* element : elements_) element->unref();
  }
  EntityList(const EntityList&) = delete;
  EntityList& operator=(const EntityList&) = delete;
  [[nodiscard]] int length() const override { return static_cast<int>(elements_.size()); }

 private:
  [[nodiscard]] JtkEntity* at(int index) const override { return elements_[static_cast<std::size_t>(index)]; }

  std::vector<JtkEntity*> elements_;
};

}  // namespace jttk
