// The small solids of the tests, in metres; each needs finish() before it is written.
#pragma once

#include <cstddef>
#include <vector>

#include "samples/maker/xt_model.h"

namespace jttk::brep {

using loftbay::maker::XtModel;
using loftbay::maker::XtWriter;

// The unpacked data of a 9.x segment, of a model after finish() or round any bytes.
std::vector<std::byte> segmentOf(const XtModel& model);
std::vector<std::byte> segmentAround(const std::vector<std::byte>& stream);
// The stream alone.
std::vector<std::byte> streamOf(const XtModel& model);

// Rational points of the circle that a point of radius `radius` and height `height` runs through about z, in
// four arcs of degree 2; `weight` is the point's own in a rational profile.
struct ProfilePoint {
  double radius, height;
  double weight = 1;
};
// Points of a net whose rows are such circles' points, one for each point of the profile: four values for
// each.
std::vector<double> turnedNet(const std::vector<ProfilePoint>& profile);

}  // namespace jttk::brep

namespace jttk::brep::models {

XtModel box(double x, double y, double z);
// Side face between two rings, no seam; or with a seam edge as other systems write it.
XtModel cylinder(double radius, double height, bool with_seam);
XtModel wholeSphere(double radius);
// Cut by the plane z = height: the part below, or the cap above.
XtModel cutSphere(double radius, double height, bool cap);
XtModel wholeTorus(double major, double minor);
XtModel cone(double radius, double height);
// A box with `count` round holes in a row, through z.
XtModel plateWithHoles(double x, double y, double z, double radius, int count);
// A cylinder with a window: a plain round hole in its side, closed by the bottom of a drilled pocket.
XtModel drilledCylinder(double radius, double height, double hole_radius);
// One face, a bicubic patch over a square of side 2 `half`, height a cosine bump.
XtModel splinePatch(double half, double bump);
// A closed solid of a spline profile turned about z, from pole to pole: x = r sin(pi t), roughly.
XtModel spunSpindle(double radius, double height);
// A cylinder whose edges are all tolerant: no curve, but one in the parameters of each side.
XtModel tolerantCylinder(double radius, double height);
// An elliptic rod: swept side between two ellipses.
XtModel ellipticRod(double major, double minor, double height);
// A B-spline cylinder (rational, closed in u) between two planes.
XtModel splineCylinder(double radius, double height);
// A torus cut in two at y = 0, the half with y > 0.
XtModel halfTorus(double major, double minor);

}  // namespace jttk::brep::models
