// Whether the bytes of a scene's file are those that were written. Opening a scene checks its tables; this
// looks at the arrays, too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "zix/reader.h"

namespace Orb::Zix {

// The offset in the file of the first chunk whose checksum differs. Reads the whole file; throws
// SceneReadError.
inline std::optional<std::uint64_t> firstDamagedChunk(const SceneFile& scene) {
  for (std::size_t i = 0; i < scene.chunks().size(); ++i) {
    if (!scene.verifyChunk(i)) return scene.chunks()[i].offset;
  }
  return std::nullopt;
}

}  // namespace Orb::Zix
