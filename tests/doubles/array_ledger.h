// Counts the float arrays that the scripted toolkit hands out and the caller releases with delete[].
#pragma once

#include <vector>

namespace loftbay::doubles {

// A new array with these values, noted in the ledger; null for no values.
float* handOut(const std::vector<float>& values);

struct ArrayCounts {
  int handed_out = 0;
  int released = 0;
};
ArrayCounts arrayCounts();
void resetArrayCounts();

}  // namespace loftbay::doubles
