// Body by body: sample the edges, mesh the faces, try again with finer edges where edges of a face cross,
// and bring all into one shape.
#include "jttk/brep/tessellate.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <unordered_map>

#include "jttk/brep/edge_samples.h"
#include "jttk/brep/face_domain_builder.h"
#include "jttk/brep/face_mesh.h"
#include "jttk/brep/precision.h"
#include "jttk/mesh/append.h"

namespace jttk::brep {
namespace {

// How often the edges of a face that cross each other are made finer before the face is given up.
constexpr int kFinerRounds = 4;
constexpr double kFinest = 1e-6;  // smallest factor for an edge's tolerance
// The mesh of a convex body lies inside it everywhere, which makes area and volume too small; so half of the
// allowed chord is used.
constexpr double kOwnShare = 0.5;
// Taken for the diagonal of bodies that seem to have no size, in metres.
constexpr double kUnknownSize = 0.1;
// Limits on evaluations of curves and surfaces, and on what costs as much, so that damaged data cannot run
// for ever.
constexpr std::uint64_t kRoughWork = 300'000;
constexpr std::uint64_t kRoughWorkPerFace = 2'000;
constexpr std::uint64_t kWorkPerPart = 6'000'000;
constexpr std::uint64_t kWorkPerFace = 100'000;
constexpr std::uint64_t kWorkOfAFace = 10;  // in addition to its evaluations

// Rounds in which pairs of faces that share an inner edge are separated.
constexpr int kSeparationRounds = 3;
// For the rough size of the bodies: no limit on the chord (metres), pieces of edges by the angle alone
// (radians), intersection curves followed this exactly (metres).
constexpr double kRoughChord = 1e6;
constexpr double kRoughAngle = 0.7;
constexpr double kRoughPrecision = 1e-4;
// What options may ask for; outside, the nearest counts. Percent of the diagonal; radians.
constexpr double kLeastPercent = 1e-3;
constexpr double kMostPercent = 50;
constexpr double kLeastAngle = 0.01;
constexpr double kMostAngle = 1.5;

struct Box {
  Vec3 low{kBeyondAll, kBeyondAll, kBeyondAll};
  Vec3 high{-kBeyondAll, -kBeyondAll, -kBeyondAll};
  void add(const Vec3& p) {
    low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
  }
  [[nodiscard]] double diagonal() const { return low.x <= high.x ? distance(low, high) : 0; }
};

class BodyTessellator {
 public:
  BodyTessellator(const Bodies& bodies, Geometry& geometry, const Tolerances& tolerances)
      : bodies_(bodies), geometry_(geometry), tolerances_(tolerances) {}

  void run(const Body& body, std::vector<TessellationLoss>& losses) {
    body_ = &body;
    meshes_.resize(body.face_count);
    domains_.resize(body.face_count);
    not_wanted_.resize(body.face_count);
    std::vector<std::uint32_t> waiting;
    for (std::uint32_t f = 0; f < body.face_count; ++f) waiting.push_back(f);
    // All domains before any mesh: refining an edge changes the faces on both sides.
    for (int round = 0; round <= kFinerRounds && !waiting.empty(); ++round) {
      for (const std::uint32_t f : waiting) domains_[f] = domain(f);
      if (!geometry_.mayWork()) break;
      waiting = refineEdges(domains_);
    }
    for (std::uint32_t f = 0; f < body.face_count; ++f) meshes_[f] = mesh(f);
    for (int round = 0; round < kFinerRounds && geometry_.mayWork(); ++round) {
      waiting = refineEdges(meshes_);
      if (waiting.empty()) break;
      for (const std::uint32_t f : waiting) {
        domains_[f] = domain(f);
        meshes_[f] = mesh(f);
      }
    }
    separate();
    for (std::uint32_t f = 0; f < body.face_count; ++f) {
      if (!meshes_[f].usable) {
        losses.push_back({static_cast<std::int32_t>(body.first_face + f), meshes_[f].usable.error().text()});
      }
    }
  }

  // Adds mesh points of faces that can bulge beyond their edges: doubly curved, and without vertices.
  void addFreeFaces(const Body& body, Box& box) {
    body_ = &body;
    domains_.resize(body.face_count);
    not_wanted_.resize(body.face_count);
    for (std::uint32_t f = 0; f < body.face_count; ++f) {
      const Face& face = bodies_.faces[body.first_face + f];
      if (!face.usable || hasVertex(face)) continue;
      const SurfaceKind kind = bodies_.surfaces[static_cast<std::size_t>(face.surface)].kind;
      if (kind == SurfaceKind::Plane || kind == SurfaceKind::Cylinder || kind == SurfaceKind::Cone) continue;
      domains_[f] = domain(f);
      const FaceMesh made = mesh(f);
      if (!made.usable) continue;
      for (const std::uint32_t corner : made.corners) box.add(points_[corner]);
    }
  }

  TessellatedBody shape(double units_per_metre) const {
    TessellatedBody made;
    ShapeGeometry& shape = made.shape;
    constexpr std::uint32_t kNoPosition = 0xffffffffU;  // the point is in no triangle yet
    std::vector<std::uint32_t> position_of(points_.size(), kNoPosition);
    for (std::uint32_t f = 0; f < meshes_.size(); ++f) {
      const FaceMesh& mesh = meshes_[f];
      if (!mesh.usable) continue;
      const auto first_record = static_cast<std::uint32_t>(shape.normals.size() / 3);
      for (const Vec3& n : mesh.normals) {
        for (const double x : {n.x, n.y, n.z}) shape.normals.push_back(static_cast<float>(x));
      }
      for (std::size_t i = 0; i < mesh.corners.size(); ++i) {
        if (i % 3 == 0) {
          shape.primitive_starts.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
          made.triangle_faces.push_back(body_->first_face + f);
        }
        std::uint32_t& position = position_of[mesh.corners[i]];
        if (position == kNoPosition) {
          position = static_cast<std::uint32_t>(shape.positions.size() / 3);
          const Vec3 p = points_[mesh.corners[i]] * units_per_metre;
          for (const double x : {p.x, p.y, p.z}) shape.positions.push_back(static_cast<float>(x));
        }
        shape.corner_positions.push_back(position);
        shape.corner_records.push_back(first_record + mesh.corner_normals[i]);
      }
    }
    if (!shape.corner_positions.empty()) {
      shape.kind = PrimitiveKind::Polygons;
      shape.primitive_starts.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
    }
    return made;
  }

 private:
  struct Sampled {
    std::vector<std::uint32_t> ids;
    Result<void> usable;
    double fineness = 1;
  };

  [[nodiscard]] bool hasVertex(const Face& face) const {
    for (std::uint32_t l = 0; l < face.loop_count; ++l) {
      const Loop& loop = bodies_.loops[face.first_loop + l];
      for (std::uint32_t i = 0; i < loop.fin_count; ++i) {
        const std::int32_t edge = bodies_.fins[loop.first_fin + i].edge;
        if (edge != kNoIndex && bodies_.edges[static_cast<std::size_t>(edge)].start != kNoIndex) return true;
      }
    }
    return false;
  }

  std::uint32_t vertexId(std::int32_t vertex) {
    const auto [known, is_new] = vertex_ids_.try_emplace(vertex, static_cast<std::uint32_t>(points_.size()));
    if (is_new) points_.push_back(bodies_.vertices[static_cast<std::size_t>(vertex)].point);
    return known->second;
  }

  const Sampled& edge(std::uint32_t number) {
    const auto [known, is_new] = edges_.try_emplace(number);
    if (is_new) sample(number, known->second);
    return known->second;
  }

  void sample(std::uint32_t number, Sampled& made) {
    const Edge& edge = bodies_.edges[number];
    Tolerances finer = tolerances_;
    finer.chord *= made.fineness;
    if (made.fineness < 1) {
      finer.angle *= std::sqrt(made.fineness);
      finer.minimum_edge = 0;
      finer.line_pieces = static_cast<int>(std::ceil(std::sqrt(1 / made.fineness)));
    }
    const EdgeSamples samples = sampleEdge(geometry_, edge, finer);
    made.usable = samples.usable;
    made.ids.clear();
    if (!made.usable) return;
    const bool ring = edge.start == kNoIndex || edge.end == kNoIndex;
    const std::size_t last = samples.points.size() - 1;
    for (std::size_t i = 0; i <= last; ++i) {
      if (ring && i == last) {
        made.ids.push_back(made.ids.front());
      } else if (!ring && (i == 0 || i == last)) {
        made.ids.push_back(vertexId(i == 0 ? edge.start : edge.end));
      } else {
        made.ids.push_back(static_cast<std::uint32_t>(points_.size()));
        points_.push_back(samples.points[i]);
      }
    }
  }

  // The face's loops as points.
  Result<std::vector<std::vector<LoopPoint>>> gatherLoops(const Face& face) {
    std::vector<std::vector<LoopPoint>> loops;
    for (std::uint32_t l = 0; l < face.loop_count; ++l) {
      const Loop& loop = bodies_.loops[face.first_loop + l];
      auto& gathered = loops.emplace_back();
      std::optional<std::uint32_t> first;
      std::optional<std::uint32_t> last;
      for (std::uint32_t i = 0; i < loop.fin_count; ++i) {
        const Fin& fin = bodies_.fins[loop.first_fin + i];
        if (fin.edge == kNoIndex) continue;
        const Sampled& sampled = edge(static_cast<std::uint32_t>(fin.edge));
        if (!sampled.usable) return passOn(sampled.usable);
        // An edge may be a side of any number of faces.
        geometry_.counter().spendSteps(sampled.ids.size());
        if (!geometry_.mayWork()) return fail(kTooMuchWork);
        std::vector<std::uint32_t> ids = sampled.ids;
        if (!fin.forward) std::reverse(ids.begin(), ids.end());
        if (last && ids.front() != *last) return fail("a loop that does not close");
        if (!first) first = ids.front();
        last = ids.back();
        for (std::size_t k = 0; k + 1 < ids.size(); ++k) {
          gathered.push_back({ids[k], static_cast<std::uint32_t>(fin.edge)});
        }
      }
      if (first != last) return fail("a loop that does not close");
    }
    return loops;
  }

  FaceDomain domain(std::uint32_t f) {
    const Face& face = bodies_.faces[body_->first_face + f];
    FaceDomain made;
    made.usable = face.usable;
    if (!made.usable) return made;
    const Result<std::vector<std::vector<LoopPoint>>> loops = gatherLoops(face);
    if (loops) return makeFaceDomain(geometry_, face, *loops, tolerances_, points_);
    made.usable = passOn(loops);
    return made;
  }

  FaceMesh mesh(std::uint32_t f) {
    return meshFace(geometry_, domains_[f], tolerances_, not_wanted_[f], points_);
  }

  [[nodiscard]] std::vector<std::uint32_t> facesOf(const std::vector<std::uint32_t>& edges) const {
    std::vector<std::uint32_t> faces;
    for (std::uint32_t f = 0; f < body_->face_count; ++f) {
      const Face& face = bodies_.faces[body_->first_face + f];
      bool touches = false;
      for (std::uint32_t l = 0; l < face.loop_count && !touches; ++l) {
        const Loop& loop = bodies_.loops[face.first_loop + l];
        for (std::uint32_t i = 0; i < loop.fin_count && !touches; ++i) {
          const std::int32_t edge = bodies_.fins[loop.first_fin + i].edge;
          touches = edge != kNoIndex &&
                    std::binary_search(edges.begin(), edges.end(), static_cast<std::uint32_t>(edge));
        }
      }
      if (touches) faces.push_back(f);
    }
    return faces;
  }

  // Resamples the edges that faces asked to be finer; returns the faces that must be rebuilt.
  template <typename Wishing>
  std::vector<std::uint32_t> refineEdges(std::vector<Wishing>& wishing) {
    std::map<std::uint32_t, double> edges;
    for (Wishing& w : wishing) {
      for (const EdgeWish& wish : w.wishes) {
        if (wish.edge == kNoEdge) continue;
        double& factor = edges.try_emplace(wish.edge, 1).first->second;
        factor = std::min(factor, wish.factor);
      }
      w.wishes.clear();
    }
    std::vector<std::uint32_t> changed;
    for (const auto& [e, factor] : edges) {
      Sampled& old = edges_[e];
      Sampled finer;
      finer.fineness = std::max(old.fineness * factor, kFinest);
      sample(e, finer);
      old.fineness = finer.fineness;
      if (finer.ids.size() == old.ids.size()) continue;
      old = std::move(finer);
      changed.push_back(e);
    }
    return facesOf(changed);
  }

  // Two faces can both connect the same two border points by an inner edge, which four triangles would then
  // share. One of the faces is remeshed with a point on that edge.
  void separate() {
    for (int round = 0; round < kSeparationRounds && geometry_.mayWork(); ++round) {
      std::unordered_map<std::uint64_t, std::uint32_t> first_face;
      std::vector<std::uint32_t> again;
      for (std::uint32_t f = 0; f < meshes_.size(); ++f) {
        const FaceMesh& mesh = meshes_[f];
        if (!mesh.usable) continue;
        for (std::size_t i = 0; i < mesh.corners.size(); ++i) {
          const std::uint32_t a = mesh.corners[i];
          const std::uint32_t b = mesh.corners[i % 3 == 2 ? i - 2 : i + 1];
          const auto [known, is_new] = first_face.try_emplace((std::uint64_t{a} << 32) | b, f);
          if (is_new) continue;
          not_wanted_[f].insert(std::minmax(a, b));
          if (again.empty() || again.back() != f) again.push_back(f);
        }
      }
      if (again.empty()) return;
      for (const std::uint32_t f : again) meshes_[f] = mesh(f);
    }
  }

  const Bodies& bodies_;
  Geometry& geometry_;
  const Tolerances& tolerances_;
  const Body* body_ = nullptr;
  std::vector<Vec3> points_;
  std::unordered_map<std::int32_t, std::uint32_t> vertex_ids_;
  std::unordered_map<std::uint32_t, Sampled> edges_;
  std::vector<FaceDomain> domains_;
  std::vector<FaceMesh> meshes_;
  std::vector<PointPairs> not_wanted_;
};

// Vertices, a few points along the edges, and coarse meshes of faces without vertices: right within some
// percent, enough to scale the tolerance.
double roughDiagonal(const Bodies& bodies, Geometry& geometry) {
  Tolerances coarse;
  coarse.chord = kRoughChord;
  coarse.angle = kRoughAngle;
  Box box;
  for (const Vertex& v : bodies.vertices) box.add(v.point);
  for (const Edge& edge : bodies.edges) {
    const bool ring = edge.start == kNoIndex || edge.start == edge.end;
    const CurveKind kind = edge.curve == kNoIndex ? CurveKind::Trimmed
                                                  : bodies.curves[static_cast<std::size_t>(edge.curve)].kind;
    if (kind == CurveKind::Line || (kind == CurveKind::Intersection && !ring)) continue;
    const EdgeSamples samples = sampleEdge(geometry, edge, coarse);
    if (!geometry.mayWork()) break;
    for (const Vec3& p : samples.points) {
      if (isFinite(p)) box.add(p);
    }
  }
  for (const Body& body : bodies.bodies) BodyTessellator(bodies, geometry, coarse).addFreeFaces(body, box);
  return box.diagonal();
}

}  // namespace

TessellatedBodies tessellate(const Bodies& bodies, const TessellationOptions& options) {
  TessellatedBodies made;
  const double scale =
      options.units_per_metre > 0 ? options.units_per_metre : TessellationOptions().units_per_metre;
  Tolerances tolerances;
  Geometry rough(bodies, kRoughPrecision);
  const std::uint64_t rough_work =
      std::min(kRoughWork + kRoughWorkPerFace * bodies.faces.size(), options.work_limit);
  rough.allowWork(rough_work);
  double diagonal = roughDiagonal(bodies, rough);
  made.work = rough_work - rough.workLeft();
  if (!(diagonal > 0)) diagonal = kUnknownSize;
  const double percent = std::isfinite(options.chord_tolerance_percent)
                             ? options.chord_tolerance_percent
                             : TessellationOptions().chord_tolerance_percent;
  // Never finer than what double arithmetic and the bodies' own precision give.
  tolerances.chord =
      std::max(diagonal * std::clamp(percent, kLeastPercent, kMostPercent) / 100, kModelResolution) *
      kOwnShare;
  tolerances.angle = std::clamp(options.angle_tolerance_rad, kLeastAngle, kMostAngle);
  tolerances.minimum_edge = options.minimum_edge_length > 0 ? options.minimum_edge_length / scale : 0;
  made.chord_tolerance = tolerances.chord / kOwnShare * scale;
  made.diagonal = diagonal * scale;
  Geometry geometry(bodies, tolerances.chord * kPrecisionShare);
  const std::uint64_t own_limit = kWorkPerPart + kWorkPerFace * bodies.faces.size();
  const std::uint64_t work = std::min(own_limit, options.work_limit - made.work);
  geometry.allowWork(work);
  for (const Error& damage : bodies.damage) made.losses.push_back({kNoIndex, damage.text()});
  for (std::uint32_t b = 0; b < bodies.bodies.size(); ++b) {
    BodyTessellator tessellator(bodies, geometry, tolerances);
    tessellator.run(bodies.bodies[b], made.losses);
    made.bodies.push_back(tessellator.shape(scale));
    made.bodies.back().body = b;
  }
  made.is_cut = work < own_limit && !geometry.mayWork();
  made.work += work - geometry.workLeft() + kWorkOfAFace * bodies.faces.size();
  return made;
}

ShapeGeometry mergedShape(const TessellatedBodies& tessellated) {
  ShapeGeometry all;
  for (const TessellatedBody& body : tessellated.bodies) {
    if (body.shape.kind == PrimitiveKind::Empty) continue;
    all.kind = body.shape.kind;
    append(all, body.shape);
  }
  return all;
}

}  // namespace jttk::brep
