#include "samples/maker/xt_model.h"

#include <cmath>

namespace loftbay::maker {
namespace {

// The zero vector where there is no direction.
Point normalized(const Point& a) {
  const double size = std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z);
  if (!(size > 0) || !std::isfinite(size)) return {};
  const double scale = 1 / size;
  return {a.x * scale, a.y * scale, a.z * scale};
}

}  // namespace

XtModel::XtModel() { nextBody(); }

void XtModel::nextBody() {
  body_ = nodes_.add(12, {{"res_size", 1000}, {"res_linear", 1e-8}});
  vertices_.clear();
  edges_.clear();
  faces_.clear();
  vertex_ids_.clear();
  edge_ids_.clear();
  face_ids_.clear();
  fin_ids_.clear();
  wires_.clear();
}

XtModel::Id XtModel::geometry(int type, std::initializer_list<XtWriter::Field> fields) {
  const Id id = nodes_.add(type, fields);
  nodes_.number(id, "sense", '+');
  return id;
}

XtModel::Id XtModel::line(const Point& p, const Point& direction) {
  return geometry(30, {{"pvec", p}, {"direction", normalized(direction)}});
}

XtModel::Id XtModel::circle(const Point& center, const Point& normal, const Point& x, double radius) {
  return geometry(31, {{"centre", center}, {"normal", normal}, {"x_axis", x}, {"radius", radius}});
}

XtModel::Id XtModel::ellipse(const Point& center, const Point& normal, const Point& x, double major,
                             double minor) {
  return geometry(32, {{"centre", center},
                       {"normal", normal},
                       {"x_axis", x},
                       {"major_radius", major},
                       {"minor_radius", minor}});
}

XtModel::Id XtModel::splineCurve(int degree, int dimension, bool rational, const std::vector<double>& points,
                                 const std::vector<double>& knots, const std::vector<int>& times) {
  const Id id = geometry(134, {});
  const Id nurbs = nodes_.add(136, {{"degree", degree},
                                    {"n_vertices", points.size() / static_cast<std::size_t>(dimension)},
                                    {"vertex_dim", dimension},
                                    {"n_knots", knots.size()},
                                    {"rational", rational}});
  nodes_.pointer(id, "nurbs", nurbs);
  nodes_.pointer(nurbs, "bspline_vertices", nodes_.add(45, {{"vertices", points}}));
  nodes_.pointer(nurbs, "knot_mult", nodes_.add(127, {{"mult", times}}));
  nodes_.pointer(nurbs, "knots", nodes_.add(128, {{"knots", knots}}));
  return id;
}

XtModel::Id XtModel::intersection(Id surface_1, Id surface_2, const std::vector<Point>& chart) {
  const Id id = geometry(38, {{"surface", std::vector<Id>{surface_1, surface_2}}});
  const Id points = nodes_.add(40, {{"chart_count", chart.size()}});
  nodes_.pointer(id, "chart", points);
  for (std::size_t i = 0; i < chart.size(); ++i) nodes_.vector(points, "hvec", chart[i], i);
  return id;
}

XtModel::Id XtModel::trimmed(Id basis, double t1, double t2, const Point& p1, const Point& p2) {
  return geometry(133,
                  {{"basis_curve", basis}, {"point_1", p1}, {"point_2", p2}, {"parm_1", t1}, {"parm_2", t2}});
}

XtModel::Id XtModel::onSurface(Id surface, Id spline) {
  return geometry(137, {{"surface", surface}, {"b_curve", spline}});
}

XtModel::Id XtModel::plane(const Point& p, const Point& normal, const Point& x) {
  return geometry(50, {{"pvec", p}, {"normal", normal}, {"x_axis", x}});
}

XtModel::Id XtModel::cylinder(const Point& p, const Point& axis, const Point& x, double radius) {
  return geometry(51, {{"pvec", p}, {"axis", axis}, {"x_axis", x}, {"radius", radius}});
}

XtModel::Id XtModel::cone(const Point& p, const Point& axis, const Point& x, double radius,
                          double half_angle) {
  return geometry(52, {{"pvec", p},
                       {"axis", axis},
                       {"x_axis", x},
                       {"radius", radius},
                       {"sin_half_angle", std::sin(half_angle)},
                       {"cos_half_angle", std::cos(half_angle)}});
}

XtModel::Id XtModel::sphere(const Point& center, const Point& axis, const Point& x, double radius) {
  return geometry(53, {{"centre", center}, {"axis", axis}, {"x_axis", x}, {"radius", radius}});
}

XtModel::Id XtModel::torus(const Point& center, const Point& axis, const Point& x, double major,
                           double minor) {
  return geometry(
      54,
      {{"centre", center}, {"axis", axis}, {"x_axis", x}, {"major_radius", major}, {"minor_radius", minor}});
}

XtModel::Id XtModel::splineSurface(int degree_u, int degree_v, int n_u, int n_v, bool rational,
                                   const std::vector<double>& points, const std::vector<double>& knots_u,
                                   const std::vector<int>& times_u, const std::vector<double>& knots_v,
                                   const std::vector<int>& times_v) {
  const Id id = geometry(124, {});
  const Id nurbs = nodes_.add(126, {{"u_degree", degree_u},
                                    {"v_degree", degree_v},
                                    {"n_u_vertices", n_u},
                                    {"n_v_vertices", n_v},
                                    {"n_u_knots", knots_u.size()},
                                    {"n_v_knots", knots_v.size()},
                                    {"rational", rational},
                                    {"vertex_dim", rational ? 4 : 3}});
  nodes_.pointer(id, "nurbs", nurbs);
  nodes_.pointer(nurbs, "bspline_vertices", nodes_.add(45, {{"vertices", points}}));
  nodes_.pointer(nurbs, "u_knot_mult", nodes_.add(127, {{"mult", times_u}}));
  nodes_.pointer(nurbs, "v_knot_mult", nodes_.add(127, {{"mult", times_v}}));
  nodes_.pointer(nurbs, "u_knots", nodes_.add(128, {{"knots", knots_u}}));
  nodes_.pointer(nurbs, "v_knots", nodes_.add(128, {{"knots", knots_v}}));
  return id;
}

XtModel::Id XtModel::swept(Id section, const Point& direction) {
  return geometry(67, {{"section", section}, {"sweep", direction}});
}

XtModel::Id XtModel::spun(Id profile, const Point& base, const Point& axis) {
  return geometry(68, {{"profile", profile}, {"base", base}, {"axis", axis}});
}

XtModel::Id XtModel::offset(Id surface, double distance) {
  return geometry(60, {{"check", 'V'}, {"surface", surface}, {"offset", distance}});
}

XtModel::Id XtModel::blend(Id spine, Id surface_1, Id surface_2, double radius) {
  return geometry(56, {{"blend_type", 'R'},
                       {"spine", spine},
                       {"surface", std::vector<Id>{surface_1, surface_2}},
                       {"range", std::vector<double>{radius, radius}}});
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
  const Id outside = nodes_.add(19, {{"type", 'V'}, {"body", body_}});
  nodes_.pointer(body_, "region", outside);
  const Id shell = nodes_.add(13);
  nodes_.number(body_, "body_type", solid_ ? 1 : 2);
  if (solid_) {
    nodes_.pointer(outside, "next", nodes_.add(19, {{"type", 'S'}, {"shell", shell}}));
  } else {
    nodes_.pointer(outside, "shell", shell);
  }
  for (const VertexSpec& spec : vertices_) {
    const Id v = nodes_.add(18);
    nodes_.pointer(v, "point", nodes_.add(29, {{"pvec", spec.p}}));
    vertex_ids_.push_back(v);
  }
  for (const EdgeSpec& spec : edges_) {
    const Id e = nodes_.add(16, {{"curve", spec.curve}});
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
    const Id attribute = nodes_.add(81, {{"owner", body_}});
    nodes_.pointer(body_, "attributes_features", attribute);
    nodes_.pointer(attribute, "definition", nodes_.add(80, {{"type_id", 9000}}));
    nodes_.pointer(attribute, "fields", nodes_.add(83, {{"values", metres_per_unit_}}));
  }
}

}  // namespace loftbay::maker
