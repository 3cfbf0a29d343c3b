// From the nodes of an XT stream to Bodies.
#pragma once

#include "jttk/brep/bodies.h"
#include "jttk/brep/xt_nodes.h"

namespace jttk::brep {

// Every BODY node of the stream in stream order. Never fails: what is damaged is marked in the result.
Bodies buildBodies(const XtNodes& nodes);

}  // namespace jttk::brep
