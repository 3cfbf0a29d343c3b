// The type questions of JtkEntity, answered once for all classes behind the interface.
#pragma once

#include "jttk/interface/jttk.h"

namespace jttk {

// A class of the interface whose objects are of one type. An owner holds a reference on what it hands out, so
// that a user's ref and unref cannot destroy it.
template <typename Interface, JtkEntity::TypeID Type>
class Typed : public Interface {
 public:
  [[nodiscard]] JtkEntity::TypeID typeID() const final { return Type; }
  [[nodiscard]] int isOfType(JtkEntity::TypeID type) const final { return type == Type ? 1 : 0; }
};

}  // namespace jttk
