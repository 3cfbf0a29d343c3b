#include "zix/render.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <tuple>

#include "zix/default_views.h"
#include "zix/feature_edges.h"
#include "zix/materials.h"
#include "zix/mesh_figures.h"
#include "zix/raster.h"
#include "zix/scene_meshes.h"
#include "zix/smooth_normals.h"

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

// The directions of a picture in the world, each of length 1, at right angles.
struct Directions {
  Vec3d right;
  Vec3d up;
  Vec3d forward;  // away from the viewer
};

Directions directionsOf(const Camera& camera) {
  const Vec3d forward = unit({camera.target[0] - camera.position[0], camera.target[1] - camera.position[1],
                              camera.target[2] - camera.position[2]},
                             {0, 1, 0});
  const Vec3d fallback = std::abs(forward[2]) < 0.9 ? Vec3d{0, 0, 1} : Vec3d{0, 1, 0};
  Vec3d right = cross(forward, unit(camera.up, fallback));
  if (dot(right, right) < 1e-12) right = cross(forward, fallback);
  right = unit(right, {1, 0, 0});
  return {right, cross(right, forward), forward};
}

// World to screen: samples to the right, samples downwards, depth away from the viewer in samples.
Matrix screenMatrix(const Camera& camera, std::uint32_t width, std::uint32_t height) {
  const auto [right, up, forward] = directionsOf(camera);
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

Appearance lookOf(const SceneFile& scene, const PlacedMesh& placed) {
  return placed.material == kNone ? defaultAppearance() : appearanceOf(scene.material(placed.material));
}

bool isOfTriangles(const SceneFile& scene, const PlacedMesh& placed) {
  return static_cast<MeshType>(scene.mesh(placed.mesh).mesh_type) == MeshType::Triangles;
}

bool isInvisible(const SceneFile& scene, const PlacedMesh& placed) {
  return isOfTriangles(scene, placed) && lookOf(scene, placed).opacity <= 0;
}

bool isTransparent(const SceneFile& scene, const PlacedMesh& placed) {
  return isOfTriangles(scene, placed) && lookOf(scene, placed).opacity < 1;
}

// In the order in which they are drawn. What is opaque and lies in the same place with the same look is drawn
// once: again it would change nothing.
std::vector<PlacedMesh> drawnMeshes(const SceneFile& scene) {
  std::vector<PlacedMesh> meshes = placedMeshes(scene);
  using Bits = std::array<std::uint64_t, sizeof(Matrix::m) / sizeof(double)>;
  std::set<std::tuple<GeometryKey, std::uint32_t, Bits>> seen;
  std::erase_if(meshes, [&](const PlacedMesh& placed) {
    if (isTransparent(scene, placed)) return false;
    Bits bits;
    std::memcpy(bits.data(), &placed.world.m, sizeof(bits));
    return !seen.insert({geometryKey(scene, placed.mesh), placed.material, bits}).second;
  });
  return meshes;
}

// Turns the directions of surfaces: what `matrix` does to the cross product of two vectors.
class NormalMatrix {
 public:
  explicit NormalMatrix(const Matrix& matrix) {
    const auto row = [&](std::size_t r) {
      return Vec3d{matrix.m[4 * r], matrix.m[4 * r + 1], matrix.m[4 * r + 2]};
    };
    rows_ = {cross(row(1), row(2)), cross(row(2), row(0)), cross(row(0), row(1))};
  }
  // Of length 1, or `v` where that is lost.
  [[nodiscard]] Vec3d apply(const Vec3& v) const {
    const Vec3d n = {static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2])};
    return unit({dot(rows_[0], n), dot(rows_[1], n), dot(rows_[2], n)}, n);
  }

 private:
  std::array<Vec3d, 3> rows_;
};

// The triangles of a mesh as they are drawn, wherever it stands.
struct SmoothTriangles {
  std::vector<std::uint32_t> corners;  // three vertices each
  std::vector<Vec3> points;            // of the vertices
  std::vector<Vec3> normals;
};

// Kept from one drawing of a mesh to the next, as far as they are not too many.
class SmoothCache {
 public:
  explicit SmoothCache(const SceneFile& scene) : scene_(scene) {}

  std::shared_ptr<const SmoothTriangles> get(std::uint32_t mesh) {
    const GeometryKey key = geometryKey(scene_, mesh);
    const auto found = kept_.find(key);
    if (found != kept_.end()) return found->second;
    auto made = make(mesh);
    const std::size_t size = 4 * made->corners.size() + 24 * made->points.size();
    if (size_ + size <= kMostBytes || kept_.empty()) {
      kept_.emplace(key, made);
      size_ += size;
    }
    return made;
  }

 private:
  static constexpr std::size_t kMostBytes = std::size_t{128} << 20;

  [[nodiscard]] std::shared_ptr<const SmoothTriangles> make(std::uint32_t mesh) const {
    const MeshArrays arrays = meshArrays(scene_, mesh);
    SmoothMesh smooth = smoothMesh(arrays);
    auto made = std::make_shared<SmoothTriangles>();
    made->corners = std::move(smooth.corners);
    made->points.reserve(smooth.vertices.size());
    made->normals.reserve(smooth.vertices.size());
    for (const SmoothMesh::Vertex& vertex : smooth.vertices) {
      made->points.push_back(arrays.point(vertex.point));
      made->normals.push_back(vertex.normal);
    }
    return made;
  }

  const SceneFile& scene_;
  std::map<GeometryKey, std::shared_ptr<const SmoothTriangles>> kept_;
  std::size_t size_ = 0;
};

constexpr Vec3 kDarkEdge = {0.08F, 0.08F, 0.1F};
constexpr Vec3 kLightEdge = {0.9F, 0.9F, 0.88F};

class Renderer {
 public:
  Renderer(const SceneFile& scene, const Matrix& screen, const RenderStyle& style)
      : scene_(scene), screen_(screen), style_(style), smooth_(scene) {}

  void draw(Canvas& canvas) {
    canvas_ = &canvas;
    bool layers = false;
    for (std::size_t i = 0; i < placed_.size(); ++i) {
      if (isInvisible(scene_, placed_[i]) || !mayReach(i)) continue;
      if (isTransparent(scene_, placed_[i])) {
        layers = layers || !style_.outline;
        drawEdges(placed_[i]);
      } else {
        drawOpaque(i);
      }
    }
    if (!layers) return;
    canvas.beginLayers();
    do {
      for (std::size_t i = 0; i < placed_.size(); ++i) {
        if (isTransparent(scene_, placed_[i]) && !isInvisible(scene_, placed_[i]) && mayReach(i))
          drawSurface(i);
      }
    } while (canvas.endLayer());
  }

  // Whether draw() will ask the canvas for layers.
  [[nodiscard]] bool needsLayers() const {
    return !style_.outline && std::any_of(placed_.begin(), placed_.end(), [&](const PlacedMesh& placed) {
      return isTransparent(scene_, placed) && !isInvisible(scene_, placed);
    });
  }

 private:
  void drawOpaque(std::size_t number) {
    const PlacedMesh& placed = placed_[number];
    if (isOfTriangles(scene_, placed)) {
      drawSurface(number);
      drawEdges(placed);
      return;
    }
    const MeshArrays mesh = meshArrays(scene_, placed.mesh);
    project(mesh, multiply(screen_, placed.world));
    if (mesh.type == MeshType::Lines) {
      drawLines(mesh, lineColor(placed));
    } else {
      drawPoints(mesh, lineColor(placed));
    }
  }

  // Lines and points without a material are dark, else they would drown in the background.
  [[nodiscard]] Vec3 lineColor(const PlacedMesh& placed) const {
    if (style_.outline) return edgeColor();
    return placed.material == kNone ? Vec3{0.15F, 0.15F, 0.2F} : floats(lookOf(scene_, placed).color);
  }

  [[nodiscard]] Vec3 edgeColor() const {
    if (!style_.outline || !style_.background) return kDarkEdge;
    const Color4& behind = *style_.background;
    const bool is_dark = behind[3] > 127 && 2 * behind[0] + 5 * behind[1] + behind[2] < 8 * 100;
    return is_dark ? kLightEdge : kDarkEdge;
  }

  // Unknown until a mesh was drawn once: whether it has anything on the rows of the canvas.
  [[nodiscard]] bool mayReach(std::size_t number) const {
    const Extent& extent = extents_[number];
    return !extent.known || canvas_->reaches(extent.top, extent.bottom);
  }

  [[nodiscard]] static Vec3 onScreen(const Matrix& to_screen, const Vec3& point) {
    // Far beyond any canvas, and far from where float arithmetic on samples would overflow.
    constexpr double kFar = 1e15;
    const auto p = to_screen.apply(static_cast<double>(point[0]), static_cast<double>(point[1]),
                                   static_cast<double>(point[2]));
    const bool usable = std::abs(p[0]) < kFar && std::abs(p[1]) < kFar && std::abs(p[2]) < kFar;
    return usable ? floats(p) : Vec3{std::numeric_limits<float>::quiet_NaN(), 0, 0};
  }

  void project(const MeshArrays& mesh, const Matrix& to_screen) {
    points_.resize(mesh.pointCount());
    for (std::size_t i = 0; i < points_.size(); ++i) points_[i] = onScreen(to_screen, mesh.point(i));
  }

  [[nodiscard]] bool isUsable(std::uint32_t index) const { return !std::isnan(points_[index][0]); }

  // In screen space, but with y upwards and z towards the viewer.
  [[nodiscard]] Vec3 faceNormal(const std::uint32_t* t) const {
    const Vec3& a = points_[t[0]];
    const Vec3& b = points_[t[1]];
    const Vec3& c = points_[t[2]];
    const Vec3 u = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
    const Vec3 v = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    const Vec3 n = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
    return {n[0], -n[1], -n[2]};
  }

  void drawSurface(std::size_t number) {
    const PlacedMesh& placed = placed_[number];
    const auto triangles = smooth_.get(placed.mesh);
    const Matrix to_screen = multiply(screen_, placed.world);
    points_.resize(triangles->points.size());
    normals_.resize(points_.size());
    const NormalMatrix turn(to_screen);
    Extent extent{true};
    for (std::size_t i = 0; i < points_.size(); ++i) {
      points_[i] = onScreen(to_screen, triangles->points[i]);
      if (style_.flat || style_.outline) continue;
      const Vec3 n = floats(turn.apply(triangles->normals[i]));
      normals_[i] = {n[0], -n[1], -n[2]};
    }
    for (const Vec3& point : points_) {
      if (std::isnan(point[0])) continue;
      extent.top = std::min(extent.top, point[1]);
      extent.bottom = std::max(extent.bottom, point[1]);
    }
    extents_[number] = extent;
    const Appearance look = lookOf(scene_, placed);
    const Surface surface{floats(look.color), floats(look.emission),
                          placed.material != kNone ? static_cast<float>(0.35 * (1 - look.roughness)) : 0.0F,
                          static_cast<float>(look.opacity)};
    for (std::size_t i = 0; i + 2 < triangles->corners.size(); i += 3) {
      const std::uint32_t* const t = &triangles->corners[i];
      if (!isUsable(t[0]) || !isUsable(t[1]) || !isUsable(t[2])) continue;
      if (style_.outline) {
        canvas_->blank(vertex(t[0]), vertex(t[1]), vertex(t[2]));
        continue;
      }
      ScreenVertex corners[3] = {vertex(t[0]), vertex(t[1]), vertex(t[2])};
      const Vec3 face = style_.flat ? faceNormal(t) : Vec3{};
      for (std::size_t k = 0; k < 3; ++k) corners[k].normal = style_.flat ? face : normals_[t[k]];
      canvas_->triangle(corners[0], corners[1], corners[2], surface);
    }
  }

  void drawEdges(const PlacedMesh& placed) {
    if (!style_.edges && !style_.outline) return;
    const MeshArrays mesh = meshArrays(scene_, placed.mesh);
    project(mesh, multiply(screen_, placed.world));
    for (const auto& [from, to] : featureEdges(mesh, points_))
      canvas_->line(vertex(from), vertex(to), edgeColor());
  }

  [[nodiscard]] ScreenVertex vertex(std::uint32_t index) const {
    const Vec3& p = points_[index];
    return {p[0], p[1], p[2], {}};
  }

  void drawLines(const MeshArrays& mesh, const Vec3& color) {
    forEachElement(mesh, [&](std::span<const std::uint32_t> element) {
      for (std::size_t k = 1; k < element.size(); ++k) {
        if (!isUsable(element[k - 1]) || !isUsable(element[k])) continue;
        canvas_->line(vertex(element[k - 1]), vertex(element[k]), color);
      }
    });
  }

  void drawPoints(const MeshArrays& mesh, const Vec3& color) {
    forEachElement(mesh, [&](std::span<const std::uint32_t> element) {
      for (const std::uint32_t index : element) {
        if (isUsable(index)) canvas_->point(vertex(index), color);
      }
    });
  }

  struct Extent {
    bool known = false;
    float top = std::numeric_limits<float>::infinity();
    float bottom = -std::numeric_limits<float>::infinity();
  };

  const SceneFile& scene_;
  const Matrix screen_;
  const RenderStyle style_;
  const std::vector<PlacedMesh> placed_ = drawnMeshes(scene_);
  SmoothCache smooth_;
  Canvas* canvas_ = nullptr;
  std::vector<Extent> extents_ = std::vector<Extent>(placed_.size());
  std::vector<Vec3> points_;
  std::vector<Vec3> normals_;
};

bool isDefaultName(std::string_view name) {
  return std::find(kDefaultViewNames.begin(), kDefaultViewNames.end(), name) != kDefaultViewNames.end();
}

}  // namespace

std::optional<Camera> findCamera(const SceneFile& scene, std::string_view name) {
  for (std::size_t i = 0; i < scene.viewCount(); ++i) {
    if (scene.viewName(i) != name) continue;
    const format::ViewRecord view = scene.view(i);
    return Camera{std::to_array(view.position), std::to_array(view.target), std::to_array(view.up),
                  view.height};
  }
  if (!isDefaultName(name)) return std::nullopt;
  BoxD bounds;
  MeshFigures figures(scene);
  for (const PlacedMesh& placed : placedMeshes(scene)) figures.addPlaced(placed.mesh, placed.world, bounds);
  for (const View& view : defaultViews(bounds)) {
    if (view.name == name) return Camera{view.position, view.target, view.up, view.height};
  }
  return std::nullopt;
}

std::optional<Camera> defaultCamera(std::string_view name, UpAxis up) {
  for (const View& view : defaultViews({})) {
    if (view.name == name)
      return Camera{turnedFor(up, view.position), {0, 0, 0}, turnedFor(up, view.up), view.height};
  }
  return std::nullopt;
}

Camera fitted(const SceneFile& scene, const Camera& camera, std::uint32_t width, std::uint32_t height) {
  const auto [right, up, forward] = directionsOf(camera);
  Matrix view;
  for (std::size_t k = 0; k < 3; ++k) {
    view.m[k] = right[k];
    view.m[4 + k] = up[k];
    view.m[8 + k] = forward[k];
  }
  BoxD projected;
  MeshFigures figures(scene);
  for (const PlacedMesh& placed : placedMeshes(scene)) {
    if (!isInvisible(scene, placed)) figures.addPlaced(placed.mesh, multiply(view, placed.world), projected);
  }
  if (projected.empty()) return camera;
  Vec3d middle{};
  Vec3d extent{};
  for (std::size_t k = 0; k < 3; ++k) {
    middle[k] = projected.low[k] / 2 + projected.high[k] / 2;
    extent[k] = projected.high[k] - projected.low[k];
  }
  // Of the world's unit, for one pixel.
  const double pixel = std::max(extent[0] / width, extent[1] / height) / (1 - 2 * kFitMargin);
  if (!(pixel > 0) || !std::isfinite(pixel)) return camera;
  Camera result = camera;
  result.height = pixel * std::min(width, height);
  const double distance = 2 * std::sqrt(dot(extent, extent));
  for (std::size_t k = 0; k < 3; ++k) {
    result.target[k] = right[k] * middle[0] + up[k] * middle[1] + forward[k] * middle[2];
    result.position[k] = result.target[k] - distance * forward[k];
  }
  return result;
}

Picture render(const SceneFile& scene, const Camera& camera, std::uint32_t width, std::uint32_t height,
               const RenderStyle& style) {
  RenderStyle used = style;
  if (style.outline && !style.background) used.background = Color4{0xFF, 0xFF, 0xFF, 0xFF};
  Renderer renderer(scene, screenMatrix(camera, width, height), used);
  // Some rows at a time: about 200 MB of samples.
  const std::size_t samples = std::size_t{renderer.needsLayers() ? 6U : 24U} << 20;
  const std::size_t row = std::size_t{width} * Canvas::kSamples * Canvas::kSamples;
  const auto band = static_cast<std::uint32_t>(std::max<std::size_t>(samples / row, 1));
  Picture picture{width, height, {}, {}};
  picture.rgb.reserve(std::size_t{3} * width * height);
  const bool has_alpha = used.background && (*used.background)[3] != 0xFF;
  for (std::uint32_t begin = 0; begin < height; begin += std::min(band, height - begin)) {
    Canvas canvas(width, height, {begin, begin + std::min(band, height - begin)});
    // Lines on a surface lie in front of it: by one sample's width.
    canvas.setDepthBias(1.5F);
    renderer.draw(canvas);
    const auto rgba = canvas.resolve(used.background);
    for (std::size_t i = 0; i < rgba.size(); i += 4) {
      picture.rgb.insert(picture.rgb.end(), {rgba[i], rgba[i + 1], rgba[i + 2]});
      if (has_alpha) picture.alpha.push_back(rgba[i + 3]);
    }
  }
  return picture;
}

}  // namespace Orb::Zix
