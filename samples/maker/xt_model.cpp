#include "samples/maker/xt_model.h"

#include <cmath>

namespace loftbay::maker {

XtModel::XtModel() { nextBody(); }

void XtModel::nextBody() {
  body_ = nodes_.add(12);
  nodes_.number(body_, "res_size", 1000);
  nodes_.number(body_, "res_linear", 1e-8);
  vertices_.clear();
  edges_.clear();
  faces_.clear();
  vertex_ids_.clear();
  edge_ids_.clear();
  face_ids_.clear();
  fin_ids_.clear();
  wires_.clear();
}

XtModel::Id XtModel::line(const Point& p, const Point& direction) {
  const Id id = nodes_.add(30);
  nodes_.number(id, "sense", '+');
  nodes_.vector(id, "pvec", p);
  nodes_.vector(id, "direction", normalized(direction));
  return id;
}

XtModel::Id XtModel::circle(const Point& center, const Point& normal, const Point& x, double radius) {
  const Id id = nodes_.add(31);
  nodes_.number(id, "sense", '+');
  nodes_.vector(id, "centre", center);
  nodes_.vector(id, "normal", normal);
  nodes_.vector(id, "x_axis", x);
  nodes_.number(id, "radius", radius);
  return id;
}

XtModel::Id XtModel::ellipse(const Point& center, const Point& normal, const Point& x, double major,
                             double minor) {
  const Id id = nodes_.add(32);
  nodes_.number(id, "sense", '+');
  nodes_.vector(id, "centre", center);
  nodes_.vector(id, "normal", normal);
  nodes_.vector(id, "x_axis", x);
  nodes_.number(id, "major_radius", major);
  nodes_.number(id, "minor_radius", minor);
  return id;
}

XtModel::Id XtModel::splineCurve(int degree, int dimension, bool rational, const std::vector<double>& points,
                                 const std::vector<double>& knots, const std::vector<int>& times) {
  const Id id = nodes_.add(134);
  const Id nurbs = nodes_.add(136);
  const Id vertices = nodes_.add(45);
  const Id mult = nodes_.add(127);
  const Id set = nodes_.add(128);
  nodes_.number(id, "sense", '+');
  nodes_.pointer(id, "nurbs", nurbs);
  nodes_.number(nurbs, "degree", degree);
  nodes_.number(nurbs, "n_vertices",
                static_cast<double>(points.size() / static_cast<std::size_t>(dimension)));
  nodes_.number(nurbs, "vertex_dim", dimension);
  nodes_.number(nurbs, "n_knots", static_cast<double>(knots.size()));
  nodes_.number(nurbs, "rational", rational ? 1 : 0);
  nodes_.pointer(nurbs, "bspline_vertices", vertices);
  nodes_.pointer(nurbs, "knot_mult", mult);
  nodes_.pointer(nurbs, "knots", set);
  nodes_.numbers(vertices, "vertices", points);
  nodes_.numbers(set, "knots", knots);
  nodes_.numbers(mult, "mult", {times.begin(), times.end()});
  return id;
}

XtModel::Id XtModel::intersection(Id surface_1, Id surface_2, const std::vector<Point>& chart) {
  const Id id = nodes_.add(38);
  const Id points = nodes_.add(40);
  nodes_.number(id, "sense", '+');
  nodes_.pointer(id, "surface", surface_1, 0);
  nodes_.pointer(id, "surface", surface_2, 1);
  nodes_.pointer(id, "chart", points);
  nodes_.number(points, "chart_count", static_cast<double>(chart.size()));
  for (std::size_t i = 0; i < chart.size(); ++i) nodes_.vector(points, "hvec", chart[i], i);
  return id;
}

XtModel::Id XtModel::trimmed(Id basis, double t1, double t2, const Point& p1, const Point& p2) {
  const Id id = nodes_.add(133);
  nodes_.number(id, "sense", '+');
  nodes_.pointer(id, "basis_curve", basis);
  nodes_.vector(id, "point_1", p1);
  nodes_.vector(id, "point_2", p2);
  nodes_.number(id, "parm_1", t1);
  nodes_.number(id, "parm_2", t2);
  return id;
}

XtModel::Id XtModel::onSurface(Id surface, Id spline) {
  const Id id = nodes_.add(137);
  nodes_.number(id, "sense", '+');
  nodes_.pointer(id, "surface", surface);
  nodes_.pointer(id, "b_curve", spline);
  return id;
}

XtModel::Id XtModel::plane(const Point& p, const Point& normal, const Point& x) {
  const Id id = nodes_.add(50);
  nodes_.number(id, "sense", '+');
  nodes_.vector(id, "pvec", p);
  nodes_.vector(id, "normal", normal);
  nodes_.vector(id, "x_axis", x);
  return id;
}

XtModel::Id XtModel::cylinder(const Point& p, const Point& axis, const Point& x, double radius) {
  const Id id = nodes_.add(51);
  nodes_.number(id, "sense", '+');
  nodes_.vector(id, "pvec", p);
  nodes_.vector(id, "axis", axis);
  nodes_.vector(id, "x_axis", x);
  nodes_.number(id, "radius", radius);
  return id;
}

XtModel::Id XtModel::cone(const Point& p, const Point& axis, const Point& x, double radius,
                          double half_angle) {
  const Id id = nodes_.add(52);
  nodes_.number(id, "sense", '+');
  nodes_.vector(id, "pvec", p);
  nodes_.vector(id, "axis", axis);
  nodes_.vector(id, "x_axis", x);
  nodes_.number(id, "radius", radius);
  nodes_.number(id, "sin_half_angle", std::sin(half_angle));
  nodes_.number(id, "cos_half_angle", std::cos(half_angle));
  return id;
}

XtModel::Id XtModel::sphere(const Point& center, const Point& axis, const Point& x, double radius) {
  const Id id = nodes_.add(53);
  nodes_.number(id, "sense", '+');
  nodes_.vector(id, "centre", center);
  nodes_.vector(id, "axis", axis);
  nodes_.vector(id, "x_axis", x);
  nodes_.number(id, "radius", radius);
  return id;
}

XtModel::Id XtModel::torus(const Point& center, const Point& axis, const Point& x, double major,
                           double minor) {
  const Id id = nodes_.add(54);
  nodes_.number(id, "sense", '+');
  nodes_.vector(id, "centre", center);
  nodes_.vector(id, "axis", axis);
  nodes_.vector(id, "x_axis", x);
  nodes_.number(id, "major_radius", major);
  nodes_.number(id, "minor_radius", minor);
  return id;
}

XtModel::Id XtModel::splineSurface(int degree_u, int degree_v, int n_u, int n_v, bool rational,
                                   const std::vector<double>& points, const std::vector<double>& knots_u,
                                   const std::vector<int>& times_u, const std::vector<double>& knots_v,
                                   const std::vector<int>& times_v) {
  const Id id = nodes_.add(124);
  const Id nurbs = nodes_.add(126);
  const Id vertices = nodes_.add(45);
  const Id u_mult = nodes_.add(127);
  const Id v_mult = nodes_.add(127);
  const Id u_set = nodes_.add(128);
  const Id v_set = nodes_.add(128);
  nodes_.number(id, "sense", '+');
  nodes_.pointer(id, "nurbs", nurbs);
  nodes_.number(nurbs, "u_degree", degree_u);
  nodes_.number(nurbs, "v_degree", degree_v);
  nodes_.number(nurbs, "n_u_vertices", n_u);
  nodes_.number(nurbs, "n_v_vertices", n_v);
  nodes_.number(nurbs, "n_u_knots", static_cast<double>(knots_u.size()));
  nodes_.number(nurbs, "n_v_knots", static_cast<double>(knots_v.size()));
  nodes_.number(nurbs, "rational", rational ? 1 : 0);
  nodes_.number(nurbs, "vertex_dim", rational ? 4 : 3);
  nodes_.pointer(nurbs, "bspline_vertices", vertices);
  nodes_.pointer(nurbs, "u_knot_mult", u_mult);
  nodes_.pointer(nurbs, "v_knot_mult", v_mult);
  nodes_.pointer(nurbs, "u_knots", u_set);
  nodes_.pointer(nurbs, "v_knots", v_set);
  nodes_.numbers(vertices, "vertices", points);
  nodes_.numbers(u_mult, "mult", {times_u.begin(), times_u.end()});
  nodes_.numbers(v_mult, "mult", {times_v.begin(), times_v.end()});
  nodes_.numbers(u_set, "knots", knots_u);
  nodes_.numbers(v_set, "knots", knots_v);
  return id;
}

XtModel::Id XtModel::swept(Id section, const Point& direction) {
  const Id id = nodes_.add(67);
  nodes_.number(id, "sense", '+');
  nodes_.pointer(id, "section", section);
  nodes_.vector(id, "sweep", direction);
  return id;
}

XtModel::Id XtModel::spun(Id profile, const Point& base, const Point& axis) {
  const Id id = nodes_.add(68);
  nodes_.number(id, "sense", '+');
  nodes_.pointer(id, "profile", profile);
  nodes_.vector(id, "base", base);
  nodes_.vector(id, "axis", axis);
  return id;
}

XtModel::Id XtModel::offset(Id surface, double distance) {
  const Id id = nodes_.add(60);
  nodes_.number(id, "sense", '+');
  nodes_.number(id, "check", 'V');
  nodes_.pointer(id, "surface", surface);
  nodes_.number(id, "offset", distance);
  return id;
}

XtModel::Id XtModel::blend(Id spine, Id surface_1, Id surface_2, double radius) {
  const Id id = nodes_.add(56);
  nodes_.number(id, "sense", '+');
  nodes_.number(id, "blend_type", 'R');
  nodes_.pointer(id, "spine", spine);
  nodes_.pointer(id, "surface", surface_1, 0);
  nodes_.pointer(id, "surface", surface_2, 1);
  nodes_.number(id, "range", radius, 0);
  nodes_.number(id, "range", radius, 1);
  return id;
}

int XtModel::vertex(const Point& p) {
  vertices_.push_back({p});
  return static_cast<int>(vertices_.size()) - 1;
}

int XtModel::edge(Id curve, int start, int end) {
  edges_.push_back({curve, start, end});
  return static_cast<int>(edges_.size()) - 1;
}

int XtModel::straight(int start, int end) {
  const Point& a = vertices_[static_cast<std::size_t>(start)].p;
  const Point& b = vertices_[static_cast<std::size_t>(end)].p;
  return edge(line(a, b - a), start, end);
}

int XtModel::face(Id surface, bool reversed, const std::vector<LoopSides>& loops) {
  faces_.push_back({surface, reversed, loops});
  return static_cast<int>(faces_.size()) - 1;
}

void XtModel::finishFace(std::size_t number, Id shell, std::vector<Id>& forward_fins,
                         std::vector<Id>& backward_fins) {
  const FaceSpec& spec = faces_[number];
  const Id face = face_ids_[number];
  nodes_.number(face, "node_id", static_cast<double>(number + 1));
  nodes_.number(face, "sense", spec.reversed ? '-' : '+');
  nodes_.pointer(face, "surface", spec.surface);
  nodes_.pointer(face, "shell", shell);
  if (number + 1 < face_ids_.size()) nodes_.pointer(face, "next", face_ids_[number + 1]);
  Id previous_loop = 0;
  for (const LoopSides& sides : spec.loops) {
    const Id loop = nodes_.add(15);
    if (previous_loop == 0) {
      nodes_.pointer(face, "loop", loop);
    } else {
      nodes_.pointer(previous_loop, "next", loop);
    }
    previous_loop = loop;
    nodes_.pointer(loop, "face", face);
    std::vector<Id> fins;
    for (std::size_t i = 0; i < sides.size(); ++i) fins.push_back(nodes_.add(17));
    if (!fins.empty()) nodes_.pointer(loop, "fin", fins[0]);
    for (std::size_t i = 0; i < sides.size(); ++i) {
      const auto e = static_cast<std::size_t>(sides[i].edge);
      const int end = sides[i].forward ? edges_[e].end : edges_[e].start;
      nodes_.number(fins[i], "sense", sides[i].forward ? '+' : '-');
      nodes_.pointer(fins[i], "loop", loop);
      nodes_.pointer(fins[i], "forward", fins[(i + 1) % fins.size()]);
      nodes_.pointer(fins[i], "backward", fins[(i + fins.size() - 1) % fins.size()]);
      if (end >= 0) nodes_.pointer(fins[i], "vertex", vertex_ids_[static_cast<std::size_t>(end)]);
      nodes_.pointer(fins[i], "edge", edge_ids_[e]);
      nodes_.pointer(fins[i], "curve", sides[i].curve);
      (sides[i].forward ? forward_fins : backward_fins)[e] = fins[i];
      fin_ids_.push_back(fins[i]);
    }
  }
}

void XtModel::finish() {
  const Id outside = nodes_.add(19);
  nodes_.number(outside, "type", 'V');
  nodes_.pointer(outside, "body", body_);
  nodes_.pointer(body_, "region", outside);
  const Id shell = nodes_.add(13);
  nodes_.number(body_, "body_type", solid_ ? 1 : 2);
  if (solid_) {
    const Id inside = nodes_.add(19);
    nodes_.number(inside, "type", 'S');
    nodes_.pointer(outside, "next", inside);
    nodes_.pointer(inside, "shell", shell);
  } else {
    nodes_.pointer(outside, "shell", shell);
  }
  for (const VertexSpec& spec : vertices_) {
    const Id v = nodes_.add(18);
    const Id point = nodes_.add(29);
    nodes_.pointer(v, "point", point);
    nodes_.vector(point, "pvec", spec.p);
    vertex_ids_.push_back(v);
  }
  for (const EdgeSpec& spec : edges_) {
    const Id e = nodes_.add(16);
    nodes_.pointer(e, "curve", spec.curve);
    if (spec.curve == 0) nodes_.number(e, "tolerance", 1e-6);
    edge_ids_.push_back(e);
  }
  for (std::size_t i = 0; i < faces_.size(); ++i) face_ids_.push_back(nodes_.add(14));
  if (!face_ids_.empty()) nodes_.pointer(shell, "face", face_ids_[0]);
  if (!wires_.empty()) nodes_.pointer(shell, "edge", edge_ids_[static_cast<std::size_t>(wires_[0])]);
  for (std::size_t i = 1; i < wires_.size(); ++i) {
    nodes_.pointer(edge_ids_[static_cast<std::size_t>(wires_[i - 1])], "next",
                   edge_ids_[static_cast<std::size_t>(wires_[i])]);
  }
  std::vector<Id> forward(edges_.size(), 0);
  std::vector<Id> backward(edges_.size(), 0);
  for (std::size_t i = 0; i < faces_.size(); ++i) finishFace(i, shell, forward, backward);
  for (std::size_t e = 0; e < edges_.size(); ++e) {
    nodes_.pointer(edge_ids_[e], "fin", forward[e] != 0 ? forward[e] : backward[e]);
    if (forward[e] != 0) nodes_.pointer(forward[e], "other", backward[e]);
    if (backward[e] != 0) nodes_.pointer(backward[e], "other", forward[e]);
  }
  if (metres_per_unit_ > 0) {
    const Id attribute = nodes_.add(81);
    const Id definition = nodes_.add(80);
    const Id values = nodes_.add(83);
    nodes_.pointer(body_, "attributes_features", attribute);
    nodes_.pointer(attribute, "definition", definition);
    nodes_.pointer(attribute, "owner", body_);
    nodes_.number(definition, "type_id", 9000);
    nodes_.numbers(attribute, "fields", {static_cast<double>(values)});
    nodes_.numbers(values, "values", {metres_per_unit_});
  }
}

}  // namespace loftbay::maker
