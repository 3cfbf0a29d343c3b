// Real files that hold exact geometry and facets of the same parts: both must agree. The folder is given by
// LOFTBAY_JT_SAMPLES, else it is looked for beside the project; without it the tests are skipped.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "jttk/brep/edge_samples.h"
#include "jttk/brep/read_xt_brep.h"
#include "jttk/brep/tessellate.h"
#include "jttk/brep/xt_nodes.h"
#include "jttk/brep/xt_segment.h"
#include "jttk/codec/shape_lod.h"
#include "tests/jttk/brep/mesh_distance.h"
#include "tests/jttk/brep/mesh_measures.h"
#include "tests/support/sample_folder.h"

namespace jttk::brep {
namespace {

using loftbay::testing_support::sampleFolder;
std::vector<char> readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

using Triangles = std::vector<MeshDistance::Triangle>;

void addTriangles(const ShapeGeometry& shape, Triangles& triangles) {
  const auto at = [&](std::size_t corner) { return cornerOf(shape, corner); };
  for (std::size_t i = 0; i + 1 < shape.primitive_starts.size(); ++i) {
    const std::size_t first = shape.primitive_starts[i];
    for (std::size_t k = first + 2; k < shape.primitive_starts[i + 1]; ++k) {
      triangles.push_back({at(first), at(k - 1), at(k)});
    }
  }
}

// Greatest distance of corners, middles of sides and centres of one mesh from another.
double farthestVertex(const Triangles& of, const Triangles& from) {
  const MeshDistance mesh(from);
  double worst = 0;
  for (const auto& t : of) {
    for (const Vec3& p : {t.a, t.b, t.c, (t.a + t.b) * 0.5, (t.b + t.c) * 0.5, (t.c + t.a) * 0.5,
                          (t.a + t.b + t.c) * (1.0 / 3)}) {
      worst = std::max(worst, mesh.from(p, worst));
    }
  }
  return worst;
}

// The same bodies as tolerant modelling writes them: edges without curves, and for each of their sides a
// curve in the parameters of its face. These are lines from point to point here, so the sides agree within
// `chord` only.
Bodies withTolerantEdges(Bodies bodies, double chord) {
  const Bodies given = bodies;
  Geometry geometry(given, chord * 1e-3);
  Tolerances tolerances;
  tolerances.chord = chord;
  tolerances.line_pieces = 8;
  for (std::size_t e = 0; e < given.edges.size(); ++e) {
    const Edge& edge = given.edges[e];
    const std::vector<Vec3> points = sampleEdge(geometry, edge, tolerances).points;
    for (const std::int32_t number : {edge.forward_fin, edge.backward_fin}) {
      if (number == kNoIndex || points.size() < 2) continue;
      Fin& fin = bodies.fins[static_cast<std::size_t>(number)];
      fin.curve = kNoIndex;
      const std::int32_t on = given.faces[static_cast<std::size_t>(fin.face)].surface;
      const Surface& surface = geometry.surface(on);
      // Its parameters depend on how finely the spine was followed.
      if (surface.kind == SurfaceKind::Blend) continue;
      const SurfaceDomain box = geometry.domain(surface);
      std::vector<Vec3> along_fin = points;
      if (!fin.forward) std::reverse(along_fin.begin(), along_fin.end());
      CurveSpline spline;
      spline.degree = 1;
      spline.dimension = 2;
      spline.point_count = static_cast<int>(along_fin.size());
      Vec2 last;
      bool has_last = false;
      const auto isPole = [&](Vec2 uv) {
        return surface.kind == SurfaceKind::Sphere && std::cos(uv.v) < 1e-6;
      };
      for (std::size_t i = 0; i < along_fin.size(); ++i) {
        Vec2 uv;
        EXPECT_LE(geometry.invert(surface, along_fin[i], has_last ? &last : nullptr, chord * 1e-3, uv),
                  10 * chord);
        if (has_last) uv = {wrapNear(uv.u, last.u, box.period_u), wrapNear(uv.v, last.v, box.period_v)};
        // Any longitude is that of the pole: the one where the curve comes from or goes.
        if (isPole(uv) && has_last) uv.u = last.u;
        if (i == 1 && isPole(last)) spline.points[0] = uv.u;
        spline.points.insert(spline.points.end(), {uv.u, uv.v});
        spline.knots.push_back(static_cast<double>(i));
        last = uv;
        has_last = true;
      }
      spline.knots.insert(spline.knots.begin(), 0);
      spline.knots.push_back(spline.knots.back());
      Curve basis;
      basis.kind = CurveKind::OnSurface;
      basis.surfaces[0] = on;
      basis.spline = static_cast<std::int32_t>(bodies.curve_splines.size());
      Curve trimmed;
      trimmed.kind = CurveKind::Trimmed;
      trimmed.basis = static_cast<std::int32_t>(bodies.curves.size());
      trimmed.parameters[1] = spline.knots.back();
      trimmed.ends[0] = along_fin.front();
      trimmed.ends[1] = along_fin.back();
      fin.curve = trimmed.basis + 1;
      bodies.curve_splines.push_back(std::move(spline));
      bodies.curves.push_back(basis);
      bodies.curves.push_back(trimmed);
    }
    bodies.edges[e].curve = kNoIndex;
    bodies.edges[e].tolerance = chord;
  }
  return bodies;
}

// The same bodies with their simple surfaces written as swept and spun curves.
Bodies withSweptAndSpunSurfaces(Bodies bodies) {
  bool sweep = false;
  const auto add = [&](const Curve& curve) {
    bodies.curves.push_back(curve);
    return static_cast<std::int32_t>(bodies.curves.size() - 1);
  };
  // Those with curves in their parameters stay.
  std::set<std::int32_t> with_curves;
  for (const Curve& curve : bodies.curves) {
    if (curve.kind == CurveKind::OnSurface) with_curves.insert(curve.surfaces[0]);
  }
  for (std::size_t i = 0; i < bodies.surfaces.size(); ++i) {
    if (with_curves.contains(static_cast<std::int32_t>(i))) continue;
    Surface& s = bodies.surfaces[i];
    const Frame f = s.frame;
    Curve curve;
    if (s.kind == SurfaceKind::Cylinder && (sweep = !sweep)) {
      curve.kind = CurveKind::Circle;
      curve.frame = f;
      curve.radius = curve.radius_2 = s.radius;
      s.kind = SurfaceKind::Swept;
      s.sweep = f.z;
    } else if (s.kind == SurfaceKind::Cylinder || s.kind == SurfaceKind::Cone) {
      const double sine = s.kind == SurfaceKind::Cone ? s.sin_half_angle : 0;
      curve.kind = CurveKind::Line;
      curve.frame.origin = f.origin + f.x * s.radius;
      curve.frame.z = normalized(f.z * s.cos_half_angle + f.x * sine);
      s.kind = SurfaceKind::Spun;
      s.reversed = !s.reversed;
    } else if (s.kind == SurfaceKind::Torus) {
      curve.kind = CurveKind::Circle;
      curve.frame = {f.origin + f.x * s.radius, f.x, f.z, cross(f.x, f.z)};
      curve.radius = curve.radius_2 = s.radius_2;
      s.kind = SurfaceKind::Spun;
      s.reversed = !s.reversed;
    } else {
      continue;
    }
    s.curve = add(curve);
  }
  return bodies;
}

struct Part {
  Triangles triangles;  // of the finest level, as the file has them
  double area = 0;
  double volume = 0;
};

class XtSamples : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    const std::filesystem::path folder = sampleFolder();
    const std::filesystem::path path = folder / (std::string(GetParam()) + ".jt");
    if (!std::filesystem::exists(path)) {
      GTEST_SKIP() << "no sample files: set LOFTBAY_JT_SAMPLES to their folder";
    }
    bytes_ = readFile(path);
    auto file = JtFile::fromBytes(std::as_bytes(std::span(bytes_)));
    ASSERT_TRUE(file) << file.error().text();
    file_ = *std::move(file);
    expected_ = nlohmann::json::parse(readFile(folder / "expected" / (std::string(GetParam()) + ".json")));
    readParts();
    for (const TocEntry& entry : file_->contents()) {
      if (entry.type != SegmentType::XtBrep) continue;
      const auto segment = file_->segment(entry);
      ASSERT_TRUE(segment) << segment.error().text();
      auto bodies = readXtBrep(*segment, file_->byteOrder());
      ASSERT_TRUE(bodies) << bodies.error().text();
      bodies_.push_back(*std::move(bodies));
    }
    ASSERT_FALSE(bodies_.empty());
  }

  void readParts() {
    std::map<std::string, nlohmann::json> stated;
    for (const auto& lod : expected_["lods"]) stated[lod["segment"]] = lod;
    std::map<std::string, Part> by_path;
    for (const auto& placed : expected_["placed"]["list"]) {
      Part& part = by_path[placed["path"].dump()];
      part.area += stated[placed["segment"]]["area"].get<double>();
      part.volume += stated[placed["segment"]]["volume6"].get<double>() / 6;
      for (const TocEntry& entry : file_->contents()) {
        if (entry.id.text() != placed["segment"].get<std::string>()) continue;
        const auto segment = file_->segment(entry);
        ASSERT_TRUE(segment) << segment.error().text();
        const auto shape = decodeShapeLod(*segment, file_->version(), file_->byteOrder());
        ASSERT_TRUE(shape) << shape.error().text();
        addTriangles(*shape, part.triangles);
      }
    }
    for (auto& [path, part] : by_path) parts_.push_back(std::move(part));
  }

  static TessellatedBodies make(const Bodies& bodies, double percent) {
    TessellationOptions options;
    options.chord_tolerance_percent = percent;
    options.units_per_metre = unitsPerMetre(bodies, "millimeters").value_or(1000);
    return tessellate(bodies, options);
  }

  // Nothing is lost, and every body is closed and as large as before; `share` is the allowed relative
  // difference.
  static void expectSame(const TessellatedBodies& made, const TessellatedBodies& plain, double share) {
    for (const TessellationLoss& loss : made.losses)
      ADD_FAILURE() << "face " << loss.face << ": " << loss.reason;
    ASSERT_EQ(made.bodies.size(), plain.bodies.size());
    for (std::size_t b = 0; b < made.bodies.size(); ++b) {
      const MeshMeasures m = measure(made.bodies[b].shape);
      const MeshMeasures m_plain = measure(plain.bodies[b].shape);
      EXPECT_EQ(m.open_edges, 0U);
      EXPECT_EQ(m.against_normals, 0U);
      EXPECT_NEAR(m.volume, m_plain.volume, share * m_plain.volume);
      EXPECT_NEAR(m.area, m_plain.area, share * m_plain.area);
    }
  }

  std::vector<char> bytes_;
  std::unique_ptr<JtFile> file_;
  nlohmann::json expected_;
  std::vector<Part> parts_;
  std::vector<Bodies> bodies_;
};

TEST_P(XtSamples, EveryBodyIsClosedAtEveryTolerance) {
  for (const Bodies& bodies : bodies_) {
    for (const double percent : {1.0, 0.08, 0.02}) {
      const TessellatedBodies made = make(bodies, percent);
      for (const TessellationLoss& loss : made.losses)
        ADD_FAILURE() << "face " << loss.face << ": " << loss.reason;
      for (const TessellatedBody& body : made.bodies) {
        const MeshMeasures m = measure(body.shape);
        EXPECT_GT(m.triangles, 0U);
        EXPECT_EQ(m.open_edges, 0U) << percent << " %";
        EXPECT_EQ(m.bad_normals, 0U) << percent << " %";
        EXPECT_EQ(m.against_normals, 0U) << percent << " %";
        EXPECT_GT(m.volume, 0);
      }
    }
  }
}

// Equal bodies lie on each other where two parts hold the same one: each is a node of its own then, in a
// segment of its own, and none is read twice.
TEST_P(XtSamples, EveryBodyNodeOfEverySegmentIsReadOnce) {
  std::set<std::string> segments;
  std::size_t read = 0;
  for (const TocEntry& entry : file_->contents()) {
    if (entry.type != SegmentType::XtBrep) continue;
    EXPECT_TRUE(segments.insert(entry.id.text()).second);
    const auto segment = file_->segment(entry);
    ASSERT_TRUE(segment);
    const auto data = findXtData(segment->data, file_->byteOrder(), 0);
    ASSERT_TRUE(data);
    const auto nodes = XtNodes::read(data->bytes, 0);
    ASSERT_TRUE(nodes);
    std::size_t bodies = 0;
    std::size_t faces = 0;
    for (std::size_t row = 0; row < nodes->size(); ++row) {
      if (nodes->at(row).typeName() == "BODY") ++bodies;
      if (nodes->at(row).typeName() == "FACE") ++faces;
    }
    EXPECT_EQ(bodies_.at(read).bodies.size(), bodies);
    EXPECT_EQ(bodies_.at(read).faces.size(), faces);
    ++read;
  }
  EXPECT_EQ(read, bodies_.size());
}

TEST_P(XtSamples, AgreesWithTheFacetsOfItsPart) {
  ASSERT_EQ(parts_.size(), bodies_.size());
  std::vector<bool> taken(parts_.size(), false);
  for (const Bodies& bodies : bodies_) {
    const TessellatedBodies made = make(bodies, 0.08);
    double area = 0;
    double volume = 0;
    Triangles own;
    for (const TessellatedBody& body : made.bodies) {
      const MeshMeasures m = measure(body.shape);
      area += m.area;
      volume += m.volume;
      addTriangles(body.shape, own);
    }
    // Which part it is: the one of nearest area that is still free.
    std::size_t best = parts_.size();
    for (std::size_t i = 0; i < parts_.size(); ++i) {
      const bool nearer =
          best == parts_.size() || std::abs(parts_[i].area - area) < std::abs(parts_[best].area - area);
      if (!taken[i] && nearer) best = i;
    }
    taken[best] = true;
    const Part& part = parts_[best];
    EXPECT_NEAR(area, part.area, 0.005 * part.area);
    EXPECT_NEAR(volume, part.volume, 0.005 * part.volume);
    // What the file's facets miss by themselves, seen from a mesh of much finer tolerance.
    Triangles fine;
    const TessellatedBodies finer = make(bodies, 0.02);
    for (const TessellatedBody& body : finer.bodies) addTriangles(body.shape, fine);
    const double of_file = farthestVertex(part.triangles, fine) + finer.chord_tolerance;
    const double of_own = farthestVertex(own, part.triangles);
    EXPECT_LE(of_own, made.chord_tolerance + of_file);
    EXPECT_LE(farthestVertex(own, fine), made.chord_tolerance + finer.chord_tolerance);
    std::printf(
        "area %+.3f %%, volume %+.3f %%, farthest own point from the facets %.4f, facets' own %.4f, chord "
        "%.4f\n",
        100 * (area / part.area - 1), 100 * (volume / part.volume - 1), of_own, of_file,
        made.chord_tolerance);
  }
}

TEST_P(XtSamples, EveryBodyIsClosedWithTolerantEdgesToo) {
  for (const Bodies& bodies : bodies_) {
    const TessellatedBodies plain = make(bodies, 0.08);
    const double metres = plain.diagonal / unitsPerMetre(bodies, "millimeters").value_or(1000);
    const TessellatedBodies made = make(withTolerantEdges(bodies, 1e-4 * metres), 0.08);
    expectSame(made, plain, 0.005);
  }
}

TEST_P(XtSamples, SweptAndSpunSurfacesGiveTheSameBodies) {
  for (const Bodies& bodies : bodies_) {
    const TessellatedBodies plain = make(bodies, 0.08);
    const TessellatedBodies made = make(withSweptAndSpunSurfaces(bodies), 0.08);
    expectSame(made, plain, 0.002);
  }
}

INSTANTIATE_TEST_SUITE_P(Jt, XtSamples, testing::Values("fan_v9.0", "bolt", "nut"),
                         [](const testing::TestParamInfo<const char*>& name) {
                           return std::string(name.param).substr(0, std::string(name.param).find('_'));
                         });

}  // namespace
}  // namespace jttk::brep
