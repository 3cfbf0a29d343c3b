// A reference on a toolkit object for the length of a scope, also when an exception ends it.
#pragma once

#include "jttk/interface/jttk.h"

namespace loftbay::convert {

class Held {
 public:
  explicit Held(JtkRefCounted* object) : object_(object) { object_->ref(); }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  ~Held() { object_->unref(); }

 private:
  JtkRefCounted* object_;
};

}  // namespace loftbay::convert
