// The fields of each node type checked (finite, unit directions, radii above zero) and brought into the form
// of bodies.h.
#include "jttk/brep/xt_simple_geometry.h"

namespace jttk::brep {
namespace {

bool readFrame(const XtNode& node, const char* origin, const char* axis, Frame& frame) {
  frame.origin = node.vector(origin);
  const Vec3 z = node.vector(axis);
  const Vec3 x = node.vector("x_axis");
  if (!isSane(frame.origin) || !isUnit(z) || !isUnit(x) || std::abs(dot(z, x)) > kSquareError) return false;
  frame.z = normalized(z);
  frame.y = normalized(cross(frame.z, x));
  frame.x = cross(frame.y, frame.z);
  return true;
}

}  // namespace

Curve readLine(const XtNode& node) {
  Curve made;
  made.kind = CurveKind::Line;
  made.frame.origin = node.vector("pvec");
  made.frame.z = node.vector("direction");
  if (!isSane(made.frame.origin) || !isUnit(made.frame.z)) made.usable = fail("no position and direction");
  return made;
}

Curve readCircle(const XtNode& node) {
  Curve made;
  made.kind = CurveKind::Circle;
  made.radius = made.radius_2 = node.real("radius");
  if (!readFrame(node, "centre", "normal", made.frame) || !isLength(made.radius)) {
    made.usable = fail("no axes or radius");
  }
  return made;
}

Curve readEllipse(const XtNode& node) {
  Curve made;
  made.kind = CurveKind::Ellipse;
  made.radius = node.real("major_radius");
  made.radius_2 = node.real("minor_radius");
  if (!readFrame(node, "centre", "normal", made.frame) || !isLength(made.radius) ||
      !isLength(made.radius_2)) {
    made.usable = fail("no axes or radii");
  }
  return made;
}

Surface readPlane(const XtNode& node) {
  Surface made;
  made.kind = SurfaceKind::Plane;
  if (!readFrame(node, "pvec", "normal", made.frame)) made.usable = fail("no axes");
  return made;
}

Surface readCylinder(const XtNode& node) {
  Surface made;
  made.kind = SurfaceKind::Cylinder;
  made.radius = node.real("radius");
  if (!readFrame(node, "pvec", "axis", made.frame) || !isLength(made.radius)) {
    made.usable = fail("no axes or radius");
  }
  return made;
}

Surface readCone(const XtNode& node) {
  Surface made;
  made.kind = SurfaceKind::Cone;
  made.radius = node.real("radius");
  made.sin_half_angle = node.real("sin_half_angle");
  made.cos_half_angle = node.real("cos_half_angle");
  if (!readFrame(node, "pvec", "axis", made.frame) || !isSane(made.radius) ||
      !(std::abs(made.sin_half_angle) <= 1) || !(std::abs(made.cos_half_angle) > kNoSine) ||
      !(std::abs(made.cos_half_angle) <= 1)) {
    made.usable = fail("no axes, radius or angle");
  }
  return made;
}

Surface readSphere(const XtNode& node) {
  Surface made;
  made.kind = SurfaceKind::Sphere;
  made.radius = node.real("radius");
  if (!readFrame(node, "centre", "axis", made.frame) || !isLength(made.radius)) {
    made.usable = fail("no axes or radius");
  }
  return made;
}

Surface readTorus(const XtNode& node) {
  Surface made;
  made.kind = SurfaceKind::Torus;
  made.radius = node.real("major_radius");
  made.radius_2 = node.real("minor_radius");
  if (!readFrame(node, "centre", "axis", made.frame) || !isSane(made.radius) || !isLength(made.radius_2) ||
      !(made.radius > -made.radius_2)) {
    made.usable = fail("no axes or radii");
  }
  return made;
}

}  // namespace jttk::brep
