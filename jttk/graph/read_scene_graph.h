// Reads scene graph segments.
#pragma once

#include "jttk/file/jt_file.h"
#include "jttk/graph/scene_graph.h"

namespace jttk {

// Reads a scene graph segment (version 8.0 and later, both byte orders). Fails only when there is no node
// at all; what else cannot be read is listed in `damage`.
Result<SceneGraph> readSceneGraph(const Segment& segment, Version version, ByteOrder order);

}  // namespace jttk
