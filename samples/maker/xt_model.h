// Builds bodies for XT streams from vertices, edges and faces: the sample's, and the small ones of the tests.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

#include "samples/maker/xt_writer.h"

namespace loftbay::maker {

// One body. Vertices, edges and faces are numbers in the order in which they were added.
class XtModel {
 public:
  using Id = XtWriter::Id;
  struct Side {
    int edge;
    bool forward;
    Id curve = 0;  // of this fin alone, for tolerant edges
  };
  using LoopSides = std::vector<Side>;

  XtModel();
  XtWriter& nodes() { return nodes_; }

  Id line(const Point& p, const Point& direction);
  Id circle(const Point& center, const Point& normal, const Point& x, double radius);
  Id ellipse(const Point& center, const Point& normal, const Point& x, double major, double minor);
  // Distinct knots with multiplicities; `points` have `dimension` numbers each, weight included.
  Id splineCurve(int degree, int dimension, bool rational, const std::vector<double>& points,
                 const std::vector<double>& knots, const std::vector<int>& times);
  Id intersection(Id surface_1, Id surface_2, const std::vector<Point>& chart);
  Id trimmed(Id basis, double t1, double t2, const Point& p1, const Point& p2);
  Id onSurface(Id surface, Id spline);

  Id plane(const Point& p, const Point& normal, const Point& x);
  Id cylinder(const Point& p, const Point& axis, const Point& x, double radius);
  Id cone(const Point& p, const Point& axis, const Point& x, double radius, double half_angle);
  Id sphere(const Point& center, const Point& axis, const Point& x, double radius);
  Id torus(const Point& center, const Point& axis, const Point& x, double major, double minor);
  Id splineSurface(int degree_u, int degree_v, int n_u, int n_v, bool rational,
                   const std::vector<double>& points, const std::vector<double>& knots_u,
                   const std::vector<int>& times_u, const std::vector<double>& knots_v,
                   const std::vector<int>& times_v);
  Id swept(Id section, const Point& direction);
  Id spun(Id profile, const Point& base, const Point& axis);
  Id offset(Id surface, double distance);
  Id blend(Id spine, Id surface_1, Id surface_2, double radius);

  int vertex(const Point& p);
  // `curve` 0: a tolerant edge, whose fins have curves of their own. Vertices -1: a ring.
  int edge(Id curve, int start, int end);
  // A straight edge between two vertices.
  int straight(int start, int end);
  int face(Id surface, bool reversed, const std::vector<LoopSides>& loops);
  void unitScale(double metres_per_unit) { metres_per_unit_ = metres_per_unit; }
  void asSheet() { solid_ = false; }

  // Node indices after finish(), for tests that damage something.
  [[nodiscard]] Id faceNode(int face) const { return face_ids_[static_cast<std::size_t>(face)]; }
  [[nodiscard]] const std::vector<Id>& finNodes() const { return fin_ids_; }

  // Writes the topology's nodes; once per body.
  void finish();
  // Begins another body in the same stream, after finish().
  void nextBody();
  // An edge that bounds no face.
  void wire(int edge) { wires_.push_back(edge); }
  [[nodiscard]] Bytes stream() const { return nodes_.stream(); }

 private:
  struct VertexSpec {
    Point p;
  };
  struct EdgeSpec {
    Id curve;
    int start;
    int end;
  };
  struct FaceSpec {
    Id surface;
    bool reversed;
    std::vector<LoopSides> loops;
  };
  // A curve or surface whose sense is that of its parameters.
  Id geometry(int type, std::initializer_list<XtWriter::Field> fields);
  void finishFace(std::size_t number, Id shell, std::vector<Id>& forward_fins,
                  std::vector<Id>& backward_fins);

  XtWriter nodes_;
  Id body_ = 0;
  bool solid_ = true;
  double metres_per_unit_ = 0;
  std::vector<VertexSpec> vertices_;
  std::vector<EdgeSpec> edges_;
  std::vector<FaceSpec> faces_;
  std::vector<Id> vertex_ids_;
  std::vector<Id> edge_ids_;
  std::vector<Id> face_ids_;
  std::vector<Id> fin_ids_;
  std::vector<int> wires_;
};

}  // namespace loftbay::maker
