#include "geometry/shape_arrays.h"

#include <cstring>
#include <memory>

namespace loftbay::geometry {

namespace {

constexpr int kNoCount = -1;

// One array of a set: a block that the toolkit allocated and the caller releases, three floats per entry.
struct SetArray {
  std::unique_ptr<float[]> values;
  int count = kNoCount;

  [[nodiscard]] std::size_t size() const {
    return values != nullptr && count > 0 ? static_cast<std::size_t>(count) : 0;
  }
  void appendTo(RawVector<Point>& points) const {
    if (size() == 0) return;
    const std::size_t before = points.size();
    points.resize(before + size());
    std::memcpy(points.data() + before, values.get(), size() * sizeof(Point));
  }
};

struct SetArrays {
  SetArray vertices, normals, colors, texture_coordinates;

  SetArrays(JtkShape& shape, int set) {
    float* v = nullptr;
    float* n = nullptr;
    float* c = nullptr;
    float* t = nullptr;
    shape.getPrimitiveSetArrays(set, v, vertices.count, n, normals.count, c, colors.count, t,
                                texture_coordinates.count);
    vertices.values.reset(v);
    normals.values.reset(n);
    colors.values.reset(c);
    texture_coordinates.values.reset(t);
  }
};

}  // namespace

ShapeArrays readShape(JtkShape& shape, const ReadOptions& options) {
  ShapeArrays result;
  for (int set = 0; set < shape.getPrimitiveSetCount(); ++set) {
    const SetArrays arrays(shape, set);
    if (arrays.vertices.count == 0) continue;
    result.set_lengths.push_back(arrays.vertices.count);
    arrays.vertices.appendTo(result.coordinates);
    if (options.count_normals) result.normal_count += arrays.normals.size();
    result.color_count += arrays.colors.size();
  }
  return result;
}

}  // namespace loftbay::geometry
