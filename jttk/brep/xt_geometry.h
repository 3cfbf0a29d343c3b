// Curves and surfaces of an XT stream, read on demand into the arrays of Bodies.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "jttk/brep/bodies.h"
#include "jttk/brep/xt_nodes.h"

namespace jttk::brep {

class XtGeometryReader {
 public:
  // `data_bytes`: the size of the stream, which bounds what is copied out of it.
  XtGeometryReader(Bodies& bodies, std::size_t data_bytes)
      : bodies_(bodies), numbers_left_(kFreeNumbers + data_bytes / kBytesPerNumber) {}

  // Number of the curve or surface of `node`, read now if it has not been; kNoIndex for a null node. What is
  // not understood becomes one of kind Unknown.
  std::int32_t curve(const XtNode& node) { return curve(node, 0); }
  std::int32_t surface(const XtNode& node) { return surface(node, 0); }

 private:
  // Arrays of numbers are nodes of their own, and any number of curves can refer to one, which each of them
  // copies. A number takes eight bytes: so each may be used four times, in small streams more often.
  static constexpr std::size_t kFreeNumbers = 100'000;
  static constexpr std::size_t kBytesPerNumber = 2;

  // Fails where so many numbers more are too many.
  Result<void> takeNumbers(std::size_t count);
  std::int32_t curve(const XtNode& node, int depth);
  std::int32_t surface(const XtNode& node, int depth);
  Curve readCurve(const XtNode& node, int depth);
  Surface readSurface(const XtNode& node, int depth);
  Curve readIntersection(const XtNode& node, int depth);
  Curve readTrimmed(const XtNode& node, int depth);
  Curve readOnSurface(const XtNode& node, int depth);
  Curve readBCurve(const XtNode& node);
  Surface readOffset(const XtNode& node, int depth);
  Surface readBlend(const XtNode& node, int depth);
  Surface readSwept(const XtNode& node, int depth);
  Surface readSpun(const XtNode& node, int depth);
  // Sets the surface's curve, or why it is not usable.
  void useCurve(const XtNode& node, int depth, Surface& made);
  void limitProfile(const XtNode& node, Surface& spun);
  // The spline's number.
  Result<std::int32_t> curveSpline(const XtNode& node);
  Result<std::int32_t> surfaceSpline(const XtNode& node);

  Bodies& bodies_;
  std::size_t numbers_left_;
  std::map<std::uint32_t, std::int32_t> curves_;  // node row -> number; kNoIndex while being read
  std::map<std::uint32_t, std::int32_t> surfaces_;
};

// Checks a knot vector: finite, never falling, with a domain that is not empty.
Result<void> checkKnots(const std::vector<double>& knots, int degree, int point_count);

}  // namespace jttk::brep
