// Something that holds decoded geometry for as long as a part is visited.
#pragma once

namespace jttk {

class Holder {
 public:
  // Lets go of the geometry; it is decoded again when it is asked for.
  virtual void release() = 0;

 protected:
  ~Holder() = default;
};

}  // namespace jttk
