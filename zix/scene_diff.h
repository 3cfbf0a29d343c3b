// The first differences between two scenes, in the order of a walk over both trees at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "zix/reader.h"

namespace Orb::Zix {

struct DiffResult {
  std::vector<std::string> differences;  // the first `kMostDifferences`, one line each
  std::uint64_t count = 0;

  static constexpr std::size_t kMostDifferences = 20;
};

// Numbers are equal when they differ by at most `tolerance`, or have the same bits, or are both NaN. With a
// tolerance below 0 only the same bits are equal. Compared are application, model and flags, views, the
// scene's properties, and for every object of the tree its type, name, properties, placement, material, and a
// mesh's type and arrays.
DiffResult diffScenes(const SceneFile& a, const SceneFile& b, double tolerance);

}  // namespace Orb::Zix
