// Checks of numbers from an XT stream, and the curves and surfaces that refer to no other nodes.
#pragma once

#include <cmath>

#include "jttk/brep/bodies.h"
#include "jttk/brep/precision.h"
#include "jttk/brep/xt_nodes.h"

namespace jttk::brep {

// Finite and of a size that lengths and parameters have.
inline bool isSane(double value) { return std::isfinite(value) && std::abs(value) < kMaximumReal; }
inline bool isSane(const Vec3& v) { return isSane(v.x) && isSane(v.y) && isSane(v.z); }
inline bool isUnit(const Vec3& v) { return isSane(v) && std::abs(length(v) - 1) < kUnitLengthError; }
inline bool isLength(double value) { return isSane(value) && value > 0; }

// Of a node of the type that the name says. Not usable where a field fails its
// check. `reversed` is left to the caller.
Curve readLine(const XtNode& node);
Curve readCircle(const XtNode& node);
Curve readEllipse(const XtNode& node);
Surface readPlane(const XtNode& node);
Surface readCylinder(const XtNode& node);
Surface readCone(const XtNode& node);
Surface readSphere(const XtNode& node);
Surface readTorus(const XtNode& node);

}  // namespace jttk::brep
