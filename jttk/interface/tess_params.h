// The parameters of tessellation that the interface hands out.
#pragma once

#include "jttk/interface/jttk.h"
#include "jttk/model/tess_values.h"

namespace jttk {

class TessParams final : public JtkTessParams {
 public:
  // A chord tolerance that is no positive number becomes the default; a minimum edge length that is none
  // becomes 0.
  TessParams(float chord_percent, float minimum_edge_length);
  [[nodiscard]] const TessValues& values() const { return values_; }

 private:
  TessValues values_;
};

}  // namespace jttk
