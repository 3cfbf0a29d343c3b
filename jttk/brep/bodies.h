// The exact geometry of a part as flat arrays that refer to each other by number. Lengths are metres,
// angles radians, the part's own coordinates.
//
// Unreadable curves, surfaces and faces stay in the arrays, marked: a curve or surface by kind Unknown, a
// face by its `usable`. Every other number in here is in range, and references between curves and surfaces
// form no cycle.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "jttk/brep/vec.h"
#include "jttk/file/error.h"

namespace jttk::brep {

// Instead of an index into the arrays of Bodies: there is no such item.
inline constexpr std::int32_t kNoIndex = -1;

// Position and three unit vectors, right-handed.
struct Frame {
  Vec3 origin;
  Vec3 x{1, 0, 0};
  Vec3 y{0, 1, 0};
  Vec3 z{0, 0, 1};
};

// Knots with their repetitions; `points` has `dimension` numbers per point and the weight behind them when
// the spline is rational (the coordinates are then multiplied by it).
struct CurveSpline {
  int degree = 0;
  int dimension = 3;  // 2 in the parameter plane of a surface
  bool rational = false;
  int point_count = 0;
  std::vector<double> knots;
  std::vector<double> points;
};

// n_u rows of n_v points, v fastest.
struct SurfaceSpline {
  int degree_u = 0;
  int degree_v = 0;
  bool rational = false;
  int n_u = 0;
  int n_v = 0;
  std::vector<double> knots_u;
  std::vector<double> knots_v;
  std::vector<double> points;
};

enum class CurveKind : std::uint8_t {
  Unknown,
  Line,          // origin + t z
  Circle,        // origin + radius (cos t x + sin t y)
  Ellipse,       // origin + radius cos t x + radius_2 sin t y
  BSpline,       // spline
  Intersection,  // of surfaces[0] and surfaces[1] along the coarse points of `chart`
  Trimmed,       // basis from parameters[0] = ends[0] to parameters[1] = ends[1]
  OnSurface,     // surfaces[0] at the 2D spline
};

struct Curve {
  CurveKind kind = CurveKind::Unknown;
  bool reversed = false;
  Frame frame;
  double radius = 0;
  double radius_2 = 0;
  std::int32_t spline = kNoIndex;
  std::int32_t basis = kNoIndex;
  std::int32_t surfaces[2] = {kNoIndex, kNoIndex};
  double parameters[2] = {0, 0};
  Vec3 ends[2];
  std::vector<Vec3> chart;
  bool closed = false;  // Intersection only: the last chart point repeats the first
  Result<void> usable;  // of an Unknown one the error says what it is, or what is wrong with it
};

// Pu x Pv is the natural normal.
enum class SurfaceKind : std::uint8_t {
  Unknown,
  Plane,     // origin + u x + v y
  Cylinder,  // origin + radius (cos u x + sin u y) + v z
  Cone,      // origin + (radius + v tan a)(cos u x + sin u y) + v z
  Sphere,    // origin + radius cos v (cos u x + sin u y) + radius sin v z
  // origin + (radius + radius_2 cos v)(cos u x + sin u y) + radius_2 sin v z; where radius is below radius_2
  // the outer part alone, between the points where it meets the axis
  Torus,
  BSpline,  // spline
  Swept,    // curve(u) + v sweep
  Spun,     // curve(u) turned by v about the line through frame.origin along frame.z
  Offset,   // base(u, v) + offset * unit normal of the base
  Blend,    // tube of `radius` round `curve`
};

struct Surface {
  SurfaceKind kind = SurfaceKind::Unknown;
  bool reversed = false;
  Frame frame;
  double radius = 0;
  double radius_2 = 0;
  double sin_half_angle = 0;
  double cos_half_angle = 1;
  std::int32_t spline = kNoIndex;
  std::int32_t base = kNoIndex;
  std::int32_t curve = kNoIndex;
  Vec3 sweep;
  double offset = 0;
  Result<void> usable;  // as a curve's
};

struct Vertex {
  Vec3 point;
  double tolerance = 0;
};

struct Edge {
  std::int32_t curve = kNoIndex;  // kNoIndex for a tolerant edge, whose fins have curves of their own
  double tolerance = 0;
  std::int32_t start = kNoIndex;  // vertices; none on a ring
  std::int32_t end = kNoIndex;
  std::int32_t forward_fin = kNoIndex;  // the first one found of each direction
  std::int32_t backward_fin = kNoIndex;
};

// One side of an edge, in the order of its loop. The face lies to its left, seen against the face normal.
struct Fin {
  std::int32_t edge = kNoIndex;  // none: a single vertex, not an edge
  std::int32_t face = kNoIndex;
  std::int32_t curve = kNoIndex;  // runs along the fin
  bool forward = true;            // runs as its edge does
};

struct Loop {
  std::uint32_t first_fin = 0;
  std::uint32_t fin_count = 0;
};

struct Face {
  std::int32_t surface = kNoIndex;
  bool reversed = false;  // against the surface's normal (with Surface::reversed taken into account first)
  std::uint32_t first_loop = 0;
  std::uint32_t loop_count = 0;
  std::int32_t shell = kNoIndex;
  std::int32_t id = 0;  // as the file numbers it
  Result<void> usable;  // the error says why the face cannot be used
};

struct Shell {
  std::uint32_t first_face = 0;
  std::uint32_t face_count = 0;
};

struct Body {
  std::uint32_t first_shell = 0;
  std::uint32_t shell_count = 0;
  std::uint32_t first_face = 0;  // of all its shells
  std::uint32_t face_count = 0;
  bool solid = false;
};

struct Bodies {
  std::vector<Body> bodies;
  std::vector<Shell> shells;
  std::vector<Face> faces;
  std::vector<Loop> loops;
  std::vector<Fin> fins;
  std::vector<Edge> edges;
  std::vector<Vertex> vertices;
  std::vector<Curve> curves;
  std::vector<Surface> surfaces;
  std::vector<CurveSpline> curve_splines;
  std::vector<SurfaceSpline> surface_splines;

  // JT length units per metre as the data themselves say it; nothing when they do not.
  std::optional<double> units_per_metre;
  std::string schema;
  // Damage that belongs to no face, with where it is.
  std::vector<Error> damage;
};

}  // namespace jttk::brep
