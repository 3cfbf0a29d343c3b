// Numbers of the node types of an XT stream that are read; types that are only skipped are named in the base
// schema's table alone (xt_schema.cpp).
#pragma once

namespace jttk::brep::xt_type {

inline constexpr int kEndOfStream = 1;  // no node: with index 0 it ends the stream

inline constexpr int kInstance = 11;
inline constexpr int kBody = 12;
inline constexpr int kShell = 13;
inline constexpr int kFace = 14;
inline constexpr int kLoop = 15;
inline constexpr int kEdge = 16;
inline constexpr int kFin = 17;  // one side of an edge
inline constexpr int kVertex = 18;
inline constexpr int kRegion = 19;

inline constexpr int kPoint = 29;
inline constexpr int kLine = 30;
inline constexpr int kCircle = 31;
inline constexpr int kEllipse = 32;
inline constexpr int kIntersection = 38;
inline constexpr int kChart = 40;  // points along an intersection
inline constexpr int kLimit = 41;  // an end of an intersection
inline constexpr int kBsplineVertices = 45;

inline constexpr int kPlane = 50;
inline constexpr int kCylinder = 51;
inline constexpr int kCone = 52;
inline constexpr int kSphere = 53;
inline constexpr int kTorus = 54;
inline constexpr int kBlendedEdge = 56;
inline constexpr int kOffsetSurface = 60;
inline constexpr int kSweptSurface = 67;
inline constexpr int kSpunSurface = 68;

inline constexpr int kAttributeDefinition = 80;
inline constexpr int kAttribute = 81;
inline constexpr int kRealValues = 83;

inline constexpr int kBSurface = 124;
inline constexpr int kNurbsSurface = 126;
inline constexpr int kKnotMultiplicities = 127;
inline constexpr int kKnotSet = 128;
inline constexpr int kTrimmedCurve = 133;
inline constexpr int kBCurve = 134;
inline constexpr int kNurbsCurve = 136;
inline constexpr int kSpCurve = 137;  // a curve in the parameter plane of a surface

}  // namespace jttk::brep::xt_type
