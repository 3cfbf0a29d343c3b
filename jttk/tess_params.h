// How parts with exact geometry are turned into triangles: what the caller gave, made safe.
#pragma once

#include "jttk/jttk.h"

namespace jttk {

struct TessValues {
  float chord_percent = 0.08F;    // greatest distance from the surface, in percent of the part's diagonal
  float minimum_edge_length = 0;  // in model units, 0 = none
};

class TessParams final : public JtkTessParams {
 public:
  // A chord tolerance that is no positive number becomes the default; a minimum edge length that is none
  // becomes 0.
  TessParams(float chord_percent, float minimum_edge_length);
  [[nodiscard]] const TessValues& values() const { return values_; }

 private:
  TessValues values_;
};

// The values of the latest JtkTessParams that still lives, or the defaults.
TessValues latestTessValues();

}  // namespace jttk
