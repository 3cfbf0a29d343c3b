// Curves and surfaces that refer to others, checked and brought into the form of bodies.h. Splines:
// xt_splines.cpp; the simple ones: xt_simple_geometry.cpp.
#include "jttk/brep/xt_geometry.h"

#include <algorithm>
#include <cmath>

#include "jttk/brep/precision.h"
#include "jttk/brep/xt_node_types.h"
#include "jttk/brep/xt_simple_geometry.h"

namespace jttk::brep {
namespace {

// How deep geometry may refer to geometry (trimmed -> on surface -> offset -> ...).
constexpr int kMaximumNesting = 8;
// Where a profile that ends on one side only is taken to end on the other, in metres.
constexpr double kFarAway = 1e3;

// The number of the node's curve or surface among those `made`: looked up in `known`, else made by `read`.
// During `read` the entry is kNoIndex, which ends cycles.
template <typename Item, typename Read>
std::int32_t numberOf(const XtNode& node, std::map<std::uint32_t, std::int32_t>& known,
                      std::vector<Item>& made, Read read) {
  if (!node) return kNoIndex;
  if (const auto entry = known.find(node.row()); entry != known.end()) return entry->second;
  known[node.row()] = kNoIndex;
  Item item = read();
  if (!item.usable) {
    item.kind = decltype(item.kind)::Unknown;
    const Error error = item.usable.error().ofElement(node.typeName() + " " + std::to_string(node.index()));
    item.usable = tl::unexpected<Error>(error);
  }
  made.push_back(std::move(item));
  return known[node.row()] = static_cast<std::int32_t>(made.size() - 1);
}

}  // namespace

Result<void> XtGeometryReader::takeNumbers(std::size_t count) {
  if (count > numbers_left_) return fail("the same numbers are used too often");
  numbers_left_ -= count;
  return {};
}

std::int32_t XtGeometryReader::curve(const XtNode& node, int depth) {
  return numberOf(node, curves_, bodies_.curves, [&] {
    if (depth < kMaximumNesting) return readCurve(node, depth);
    Curve unread;
    unread.usable = fail("curves refer to each other too deeply");
    return unread;
  });
}

std::int32_t XtGeometryReader::surface(const XtNode& node, int depth) {
  return numberOf(node, surfaces_, bodies_.surfaces, [&] {
    if (depth < kMaximumNesting) return readSurface(node, depth);
    Surface unread;
    unread.usable = fail("surfaces refer to each other too deeply");
    return unread;
  });
}

Curve XtGeometryReader::readIntersection(const XtNode& node, int depth) {
  Curve curve;
  curve.kind = CurveKind::Intersection;
  for (std::uint32_t side = 0; side < 2; ++side) {
    curve.surfaces[side] = surface(node.pointer("surface", side), depth + 1);
  }
  const XtNode chart = node.pointer("chart", xt_type::kChart);
  const std::int32_t stated = chart.integer("chart_count");
  const std::uint32_t count = std::min(chart.count(), stated > 0 ? static_cast<std::uint32_t>(stated) : 0U);
  curve.usable = takeNumbers(3 * std::size_t{count});
  if (!curve.usable) return curve;
  for (std::uint32_t k = 0; k < count; ++k) {
    const Vec3 point = chart.vector("hvec", k);
    if (!isSane(point)) {
      curve.usable = fail("a chart point is not finite");
      return curve;
    }
    if (curve.chart.empty() || !(point == curve.chart.back())) curve.chart.push_back(point);
  }
  if (curve.chart.size() < 2) {
    curve.usable = fail("fewer than two different chart points");
    return curve;
  }
  const XtNode start = node.pointer("start", xt_type::kLimit);
  curve.closed =
      start.letter("type") == 'H' ||
      (curve.chart.size() > 3 && distance(curve.chart.front(), curve.chart.back()) < kModelResolution);
  if (curve.closed && !(curve.chart.front() == curve.chart.back())) {
    if (distance(curve.chart.front(), curve.chart.back()) < kModelResolution) {
      curve.chart.back() = curve.chart.front();
    } else {
      curve.chart.push_back(curve.chart.front());
    }
  }
  if (curve.closed && curve.chart.size() < 4) curve.usable = fail("a closed curve with too few chart points");
  return curve;
}

Curve XtGeometryReader::readTrimmed(const XtNode& node, int depth) {
  Curve made;
  made.kind = CurveKind::Trimmed;
  made.basis = curve(node.pointer("basis_curve"), depth + 1);
  made.parameters[0] = node.real("parm_1");
  made.parameters[1] = node.real("parm_2");
  made.ends[0] = node.vector("point_1");
  made.ends[1] = node.vector("point_2");
  if (made.basis == kNoIndex) {
    made.usable = fail("no basis curve");
  } else if (const Curve& basis = bodies_.curves[static_cast<std::size_t>(made.basis)];
             basis.kind == CurveKind::Unknown || basis.kind == CurveKind::Trimmed) {
    made.usable = basis.usable;
    if (basis.usable) made.usable = fail("a trimmed curve of a trimmed curve");
  } else if (!isSane(made.parameters[0]) || !isSane(made.parameters[1]) || !isSane(made.ends[0]) ||
             !isSane(made.ends[1])) {
    made.usable = fail("ends are not finite");
  }
  return made;
}

Curve XtGeometryReader::readOnSurface(const XtNode& node, int depth) {
  Curve made;
  made.kind = CurveKind::OnSurface;
  made.surfaces[0] = surface(node.pointer("surface"), depth + 1);
  const auto spline =
      curveSpline(node.pointer("b_curve", xt_type::kBCurve).pointer("nurbs", xt_type::kNurbsCurve));
  if (!spline) {
    made.usable = passOn(spline);
    return made;
  }
  made.spline = *spline;
  if (bodies_.curve_splines[static_cast<std::size_t>(made.spline)].dimension != 2) {
    made.usable = fail("the parameter curve is not plane");
  } else if (made.surfaces[0] == kNoIndex) {
    made.usable = fail("no surface");
  } else if (const Surface& on = bodies_.surfaces[static_cast<std::size_t>(made.surfaces[0])];
             on.kind == SurfaceKind::Unknown) {
    made.usable = on.usable;
  }
  return made;
}

Curve XtGeometryReader::readBCurve(const XtNode& node) {
  Curve made;
  made.kind = CurveKind::BSpline;
  const auto spline = curveSpline(node.pointer("nurbs", xt_type::kNurbsCurve));
  if (!spline) {
    made.usable = passOn(spline);
    return made;
  }
  made.spline = *spline;
  if (bodies_.curve_splines[static_cast<std::size_t>(made.spline)].dimension != 3) {
    // The parameter curve of an SP_CURVE; no curve in space by itself.
    made.usable = fail("a curve in the plane");
  }
  return made;
}

Curve XtGeometryReader::readCurve(const XtNode& node, int depth) {
  Curve curve;
  switch (node.type()) {
    case xt_type::kLine:
      curve = readLine(node);
      break;
    case xt_type::kCircle:
      curve = readCircle(node);
      break;
    case xt_type::kEllipse:
      curve = readEllipse(node);
      break;
    case xt_type::kIntersection:
      curve = readIntersection(node, depth);
      break;
    case xt_type::kTrimmedCurve:
      curve = readTrimmed(node, depth);
      break;
    case xt_type::kBCurve:
      curve = readBCurve(node);
      break;
    case xt_type::kSpCurve:
      curve = readOnSurface(node, depth);
      break;
    default:
      curve.usable = fail("a curve that is not known");
      break;
  }
  curve.reversed = node.letter("sense") == '-';
  return curve;
}

// Offsets of the simple surfaces are such surfaces again, with the same parameters.
Surface XtGeometryReader::readOffset(const XtNode& node, int depth) {
  Surface made;
  const std::int32_t base_number = surface(node.pointer("surface"), depth + 1);
  made.offset = node.real("offset");
  if (base_number == kNoIndex || !isSane(made.offset)) {
    made.usable = fail("no base surface or distance");
    return made;
  }
  Surface base = bodies_.surfaces[static_cast<std::size_t>(base_number)];
  const double d = made.offset;
  switch (base.kind) {
    case SurfaceKind::Plane:
      base.frame.origin += base.frame.z * d;
      return base;
    case SurfaceKind::Cylinder:
    case SurfaceKind::Sphere:
      base.radius += d;
      if (!isLength(base.radius)) base.usable = fail("offset as far as the radius");
      return base;
    case SurfaceKind::Cone:
      base.frame.origin += base.frame.z * (-d * base.sin_half_angle);
      base.radius += d * base.cos_half_angle;
      return base;
    case SurfaceKind::Torus:
      base.radius_2 += d;
      if (!isLength(base.radius_2)) base.usable = fail("offset as far as the radius");
      return base;
    case SurfaceKind::Unknown:
      made.usable = base.usable;
      return made;
    default:
      made.kind = SurfaceKind::Offset;
      made.base = base_number;
      return made;
  }
}

Surface XtGeometryReader::readBlend(const XtNode& node, int depth) {
  Surface made;
  made.kind = SurfaceKind::Blend;
  made.curve = curve(node.pointer("spine"), depth + 1);
  double range[] = {node.real("range", 0), node.real("range", 1)};
  if (!isSane(range[1])) range[1] = 0;  // not set
  made.radius = std::abs(range[0]);
  if (!isLength(made.radius) || made.radius > kMaximumReal) {
    made.usable = fail("a blend without a radius");
  } else if (range[1] != 0 && std::abs(std::abs(range[1]) - made.radius) > kSamePoint) {
    made.usable = fail("a blend of changing radius");
  } else if (made.curve == kNoIndex) {
    made.usable = fail("a blend without a spine");
  } else if (const Curve& spine = bodies_.curves[static_cast<std::size_t>(made.curve)];
             spine.kind == CurveKind::Unknown) {
    made.usable = spine.usable;
  }
  return made;
}

// A profile that meets its axis ends there: `start` and `end` are those points, null where there are none.
void XtGeometryReader::limitProfile(const XtNode& node, Surface& spun) {
  const Curve& profile = bodies_.curves[static_cast<std::size_t>(spun.curve)];
  // For other curves our parameters differ from the file's.
  const bool simple = profile.kind == CurveKind::Line || profile.kind == CurveKind::Circle ||
                      profile.kind == CurveKind::Ellipse || profile.kind == CurveKind::BSpline;
  double low = node.real("start_param");
  double high = node.real("end_param");
  const bool has_low = isSane(low) && isSane(node.vector("start"));
  const bool has_high = isSane(high) && isSane(node.vector("end"));
  if (!simple || (!has_low && !has_high)) return;
  if (!has_low || !has_high) {
    if (profile.kind != CurveKind::Line) return;  // it ends by itself on that side
    (has_low ? high : low) = has_low ? low + kFarAway : high - kFarAway;
  }
  if (!(low < high)) return;
  Curve limited;
  limited.kind = CurveKind::Trimmed;
  limited.basis = spun.curve;
  limited.parameters[0] = low;
  limited.parameters[1] = high;
  spun.curve = static_cast<std::int32_t>(bodies_.curves.size());
  bodies_.curves.push_back(limited);
}

void XtGeometryReader::useCurve(const XtNode& node, int depth, Surface& made) {
  made.curve = curve(node, depth + 1);
  if (made.curve == kNoIndex) {
    made.usable = fail("no curve");
  } else if (const Curve& used = bodies_.curves[static_cast<std::size_t>(made.curve)];
             used.kind == CurveKind::Unknown) {
    made.usable = used.usable;
  }
}

Surface XtGeometryReader::readSwept(const XtNode& node, int depth) {
  Surface made;
  made.kind = SurfaceKind::Swept;
  made.sweep = node.vector("sweep");
  useCurve(node.pointer("section"), depth, made);
  if (made.usable && (!isSane(made.sweep) || !(length(made.sweep) > kNoLength))) {
    made.usable = fail("no sweep direction");
  }
  return made;
}

Surface XtGeometryReader::readSpun(const XtNode& node, int depth) {
  Surface made;
  made.kind = SurfaceKind::Spun;
  made.frame.origin = node.vector("base");
  made.frame.z = node.vector("axis");
  useCurve(node.pointer("profile"), depth, made);
  if (made.usable && (!isSane(made.frame.origin) || !isUnit(made.frame.z))) {
    made.usable = fail("no axis");
  }
  if (!made.usable) return made;
  made.frame.z = normalized(made.frame.z);
  made.frame.x = anyAcross(made.frame.z);
  made.frame.y = cross(made.frame.z, made.frame.x);
  limitProfile(node, made);
  return made;
}

Surface XtGeometryReader::readSurface(const XtNode& node, int depth) {
  Surface made;
  switch (node.type()) {
    case xt_type::kPlane:
      made = readPlane(node);
      break;
    case xt_type::kCylinder:
      made = readCylinder(node);
      break;
    case xt_type::kCone:
      made = readCone(node);
      break;
    case xt_type::kSphere:
      made = readSphere(node);
      break;
    case xt_type::kTorus:
      made = readTorus(node);
      break;
    case xt_type::kBlendedEdge:
      made = readBlend(node, depth);
      break;
    case xt_type::kOffsetSurface:
      made = readOffset(node, depth);
      break;
    case xt_type::kSweptSurface:
      made = readSwept(node, depth);
      break;
    case xt_type::kSpunSurface:
      made = readSpun(node, depth);
      break;
    case xt_type::kBSurface:
      made.kind = SurfaceKind::BSpline;
      if (const auto spline = surfaceSpline(node.pointer("nurbs", xt_type::kNurbsSurface))) {
        made.spline = *spline;
      } else {
        made.usable = passOn(spline);
      }
      break;
    default:
      made.usable = fail("a surface that is not known");
      break;
  }
  made.reversed = node.letter("sense") == '-';
  return made;
}

}  // namespace jttk::brep
