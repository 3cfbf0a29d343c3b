#include "zix/render.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "zix/default_views.h"
#include "zix/feature_edges.h"
#include "zix/materials.h"
#include "zix/mesh_figures.h"
#include "zix/raster.h"
#include "zix/scene_meshes.h"

namespace Orb::Zix {

using format::kNone;

namespace {

using Vec3d = std::array<double, 3>;

double dot(const Vec3d& a, const Vec3d& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Vec3d cross(const Vec3d& a, const Vec3d& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

// Of length 1, or `otherwise` where there is no direction.
Vec3d unit(const Vec3d& v, const Vec3d& otherwise) {
  const double length = std::sqrt(dot(v, v));
  if (!(length > 0) || !std::isfinite(length)) return otherwise;
  return {v[0] / length, v[1] / length, v[2] / length};
}

// World to screen: samples to the right, samples downwards, depth away from the viewer in samples.
Matrix screenMatrix(const Camera& camera, std::uint32_t width, std::uint32_t height) {
  const Vec3d forward = unit({camera.target[0] - camera.position[0], camera.target[1] - camera.position[1],
                              camera.target[2] - camera.position[2]},
                             {0, 1, 0});
  const Vec3d fallback = std::abs(forward[2]) < 0.9 ? Vec3d{0, 0, 1} : Vec3d{0, 1, 0};
  Vec3d right = cross(forward, unit(camera.up, fallback));
  if (dot(right, right) < 1e-12) right = cross(forward, fallback);
  right = unit(right, {1, 0, 0});
  const Vec3d up = cross(right, forward);
  const double samples_wide = static_cast<double>(width) * Canvas::kSamples;
  const double samples_high = static_cast<double>(height) * Canvas::kSamples;
  const bool usable = camera.height > 0 && std::isfinite(camera.height);
  const double scale = std::min(samples_wide, samples_high) / (usable ? camera.height : 1);
  Matrix matrix;
  for (std::size_t k = 0; k < 3; ++k) {
    matrix.m[k] = right[k] * scale;
    matrix.m[4 + k] = -up[k] * scale;
    matrix.m[8 + k] = forward[k] * scale;
  }
  matrix.m[3] = samples_wide / 2 - dot(right, camera.target) * scale;
  matrix.m[7] = samples_high / 2 + dot(up, camera.target) * scale;
  matrix.m[11] = -dot(forward, camera.target) * scale;
  return matrix;
}

Vec3 floats(const std::array<double, 3>& values) {
  return {static_cast<float>(values[0]), static_cast<float>(values[1]), static_cast<float>(values[2])};
}

class Renderer {
 public:
  Renderer(const SceneFile& scene, const Matrix& screen, const RenderStyle& style, Canvas& canvas)
      : scene_(scene), screen_(screen), style_(style), canvas_(canvas) {}

  void draw(const PlacedMesh& placed) {
    const MeshArrays mesh = meshArrays(scene_, placed.mesh);
    const Appearance look =
        placed.material == kNone ? defaultAppearance() : appearanceOf(scene_.material(placed.material));
    project(mesh, multiply(screen_, placed.world));
    switch (mesh.type) {
      case MeshType::Triangles:
        drawTriangles(mesh, placed.material != kNone, look);
        break;
      case MeshType::Lines:
        drawLines(mesh, lineColor(placed, look));
        break;
      case MeshType::Points:
        drawPoints(mesh, lineColor(placed, look));
        break;
    }
  }

 private:
  // Lines and points without a material are dark, else they would drown in the background.
  static Vec3 lineColor(const PlacedMesh& placed, const Appearance& look) {
    return placed.material == kNone ? Vec3{0.15F, 0.15F, 0.2F} : floats(look.color);
  }

  void project(const MeshArrays& mesh, const Matrix& to_screen) {
    points_.resize(mesh.pointCount());
    // Far beyond any canvas, and far from where float arithmetic on samples would overflow.
    constexpr double kFar = 1e15;
    for (std::size_t i = 0; i < points_.size(); ++i) {
      const auto [x, y, z] = mesh.point(i);
      const auto p = to_screen.apply(static_cast<double>(x), static_cast<double>(y), static_cast<double>(z));
      const bool usable = std::abs(p[0]) < kFar && std::abs(p[1]) < kFar && std::abs(p[2]) < kFar;
      points_[i] = usable ? floats(p) : Vec3{std::numeric_limits<float>::quiet_NaN(), 0, 0};
    }
  }

  [[nodiscard]] bool isUsable(std::uint32_t index) const { return !std::isnan(points_[index][0]); }

  // In screen space, but with y upwards and z towards the viewer; its length is twice the area.
  [[nodiscard]] Vec3 faceNormal(std::span<const std::uint32_t> t) const {
    const Vec3& a = points_[t[0]];
    const Vec3& b = points_[t[1]];
    const Vec3& c = points_[t[2]];
    const Vec3 u = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
    const Vec3 v = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    const Vec3 n = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
    return {n[0], -n[1], -n[2]};
  }

  // The vertex normal where it is near the face's own, else the face's: soft across curved surfaces, hard
  // across edges. Both count with either sign, because windings of open shells are not to be relied on.
  [[nodiscard]] static Vec3 cornerNormal(const Vec3& vertex, const Vec3& face) {
    constexpr float kSoftest = 0.766F;  // cosine of 40 degrees
    const float along = vertex[0] * face[0] + vertex[1] * face[1] + vertex[2] * face[2];
    const float v = vertex[0] * vertex[0] + vertex[1] * vertex[1] + vertex[2] * vertex[2];
    const float f = face[0] * face[0] + face[1] * face[1] + face[2] * face[2];
    if (!(along > kSoftest * std::sqrt(v * f))) return face;
    const float scale = std::sqrt(f / v);
    return {vertex[0] * scale, vertex[1] * scale, vertex[2] * scale};
  }

  // Normals of the points, weighted by the areas of the triangles around them.
  void sumNormals(const MeshArrays& mesh) {
    normals_.assign(points_.size(), Vec3{});
    forEachElement(mesh, [&](std::span<const std::uint32_t> t) {
      if (!isUsable(t[0]) || !isUsable(t[1]) || !isUsable(t[2])) return;
      const Vec3 n = faceNormal(t);
      for (const std::uint32_t index : t) {
        for (std::size_t k = 0; k < 3; ++k) normals_[index][k] += n[k];
      }
    });
  }

  void drawTriangles(const MeshArrays& mesh, bool has_material, const Appearance& look) {
    const Surface surface{floats(look.color), floats(look.emission),
                          has_material ? static_cast<float>(0.35 * (1 - look.roughness)) : 0.0F,
                          static_cast<float>(look.opacity)};
    if (look.opacity <= 0) return;
    if (!style_.flat) sumNormals(mesh);
    forEachElement(mesh, [&](std::span<const std::uint32_t> t) {
      if (!isUsable(t[0]) || !isUsable(t[1]) || !isUsable(t[2])) return;
      const Vec3 face = faceNormal(t);
      ScreenVertex corners[3];
      for (std::size_t k = 0; k < 3; ++k) {
        const Vec3& p = points_[t[k]];
        corners[k] = {p[0], p[1], p[2], style_.flat ? face : cornerNormal(normals_[t[k]], face)};
      }
      canvas_.triangle(corners[0], corners[1], corners[2], surface);
    });
    if (!style_.edges) return;
    for (const auto& [from, to] : featureEdges(mesh, points_)) {
      canvas_.line(vertex(from), vertex(to), Vec3{0.08F, 0.08F, 0.1F});
    }
  }

  [[nodiscard]] ScreenVertex vertex(std::uint32_t index) const {
    const Vec3& p = points_[index];
    return {p[0], p[1], p[2], {}};
  }

  void drawLines(const MeshArrays& mesh, const Vec3& color) {
    forEachElement(mesh, [&](std::span<const std::uint32_t> element) {
      for (std::size_t k = 1; k < element.size(); ++k) {
        if (!isUsable(element[k - 1]) || !isUsable(element[k])) continue;
        canvas_.line(vertex(element[k - 1]), vertex(element[k]), color);
      }
    });
  }

  void drawPoints(const MeshArrays& mesh, const Vec3& color) {
    forEachElement(mesh, [&](std::span<const std::uint32_t> element) {
      for (const std::uint32_t index : element) {
        if (isUsable(index)) canvas_.point(vertex(index), color);
      }
    });
  }

  const SceneFile& scene_;
  const Matrix screen_;
  const RenderStyle style_;
  Canvas& canvas_;
  std::vector<Vec3> points_;
  std::vector<Vec3> normals_;
};

}  // namespace

std::optional<Camera> findCamera(const SceneFile& scene, std::string_view name) {
  for (std::size_t i = 0; i < scene.viewCount(); ++i) {
    if (scene.viewName(i) != name) continue;
    const format::ViewRecord view = scene.view(i);
    return Camera{std::to_array(view.position), std::to_array(view.target), std::to_array(view.up),
                  view.height};
  }
  BoxD bounds;
  BoxF local;  // not asked for
  for (const PlacedMesh& placed : placedMeshes(scene))
    addBounds(scene, placed.mesh, placed.world, local, bounds);
  for (const View& view : defaultViews(bounds)) {
    if (view.name == name) return Camera{view.position, view.target, view.up, view.height};
  }
  return std::nullopt;
}

Picture render(const SceneFile& scene, const Camera& camera, std::uint32_t width, std::uint32_t height,
               const RenderStyle& style) {
  Canvas canvas(width, height);
  // Lines on a surface lie in front of it: by one sample's width.
  canvas.setDepthBias(1.5F);
  Renderer renderer(scene, screenMatrix(camera, width, height), style, canvas);
  for (const PlacedMesh& placed : placedMeshes(scene)) renderer.draw(placed);
  return {width, height, canvas.resolve()};
}

}  // namespace Orb::Zix
