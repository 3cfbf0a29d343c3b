// Writes small XT streams for tests: nodes field by field, and solid bodies from vertices, edges and faces.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "jttk/brep/vec.h"
#include "jttk/brep/xt_schema.h"

namespace jttk::brep {

// Nodes of the base schema, by name of field. What is not set is 0, null, or a real that is not set.
class XtWriter {
 public:
  using Id = std::uint32_t;  // index of a node; 0 is null

  Id add(int type);
  // Value k of a field; for a variable field the array grows as needed.
  void number(Id node, const std::string& field, double value, std::size_t k = 0);
  void pointer(Id node, const std::string& field, Id target, std::size_t k = 0) {
    number(node, field, static_cast<double>(target), k);
  }
  void vector(Id node, const std::string& field, const Vec3& value, std::size_t k = 0);
  void numbers(Id node, const std::string& field, const std::vector<double>& values);
  // Every index grows by this, so that pointers need their long form.
  void shiftIndices(std::uint32_t by) { shift_ = by; }

  // The whole stream, with an embedded schema that changes nothing.
  [[nodiscard]] std::vector<std::byte> stream() const;

 private:
  struct Node {
    int type = 0;
    std::map<std::string, std::vector<double>> values;
  };
  std::vector<Node> nodes_;  // node of index i at i - 1
  std::uint32_t shift_ = 0;
};

// The unpacked data of a 9.x segment around a stream.
std::vector<std::byte> wrapXtStream(const std::vector<std::byte>& stream);

// One body. Vertices, edges and faces are numbers in the order in which they were added.
class XtModel {
 public:
  using Id = XtWriter::Id;
  struct Side {
    int edge;
    bool forward;
    Id curve = 0;  // of this side alone, for tolerant edges
  };
  using LoopSides = std::vector<Side>;

  XtModel();
  XtWriter& nodes() { return nodes_; }

  Id line(const Vec3& p, const Vec3& direction);
  Id circle(const Vec3& center, const Vec3& normal, const Vec3& x, double radius);
  Id ellipse(const Vec3& center, const Vec3& normal, const Vec3& x, double major, double minor);
  // Distinct knots with multiplicities; `points` have `dimension` numbers each, weight included.
  Id splineCurve(int degree, int dimension, bool rational, const std::vector<double>& points,
                 const std::vector<double>& knots, const std::vector<int>& times);
  Id intersection(Id surface_1, Id surface_2, const std::vector<Vec3>& chart);
  Id trimmed(Id basis, double t1, double t2, const Vec3& p1, const Vec3& p2);
  Id onSurface(Id surface, Id spline);

  Id plane(const Vec3& p, const Vec3& normal, const Vec3& x);
  Id cylinder(const Vec3& p, const Vec3& axis, const Vec3& x, double radius);
  Id cone(const Vec3& p, const Vec3& axis, const Vec3& x, double radius, double half_angle);
  Id sphere(const Vec3& center, const Vec3& axis, const Vec3& x, double radius);
  Id torus(const Vec3& center, const Vec3& axis, const Vec3& x, double major, double minor);
  Id splineSurface(int degree_u, int degree_v, int n_u, int n_v, bool rational,
                   const std::vector<double>& points, const std::vector<double>& knots_u,
                   const std::vector<int>& times_u, const std::vector<double>& knots_v,
                   const std::vector<int>& times_v);
  Id swept(Id section, const Vec3& direction);
  Id spun(Id profile, const Vec3& base, const Vec3& axis);
  Id offset(Id surface, double distance);
  Id blend(Id spine, Id surface_1, Id surface_2, double radius);

  int vertex(const Vec3& p);
  // `curve` 0: tolerant, the sides bring their own. Vertices -1: a ring.
  int edge(Id curve, int start, int end);
  // A straight edge between two vertices.
  int straight(int start, int end);
  int face(Id surface, bool reversed, const std::vector<LoopSides>& loops);
  void unitScale(double metres_per_unit) { metres_per_unit_ = metres_per_unit; }
  void asSheet() { solid_ = false; }

  // Node indices after finish(), for tests that damage something.
  [[nodiscard]] Id faceNode(int face) const { return face_ids_[static_cast<std::size_t>(face)]; }
  [[nodiscard]] const std::vector<Id>& finNodes() const { return fin_ids_; }

  // Writes the topology's nodes; once.
  void finish();
  [[nodiscard]] std::vector<std::byte> segment() const { return wrapXtStream(nodes_.stream()); }

 private:
  struct VertexSpec {
    Vec3 p;
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
};

}  // namespace jttk::brep
