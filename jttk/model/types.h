// The type questions of JtkEntity, answered once for all classes behind the interface.
#pragma once

#include "jttk/jttk.h"

namespace jttk {

// A class of the interface whose objects are of one type. Objects that belong to another object hold a
// reference to themselves from the start, so that a user's ref and unref never destroy them.
template <typename Interface, JtkEntity::TypeID Type>
class Typed : public Interface {
 public:
  [[nodiscard]] JtkEntity::TypeID typeID() const final { return Type; }
  [[nodiscard]] int isOfType(JtkEntity::TypeID type) const final { return type == Type ? 1 : 0; }
};

}  // namespace jttk
