#include "jttk/interface/shape_object.h"

#include <algorithm>

#include "jttk/interface/converter_rules.h"
#include "jttk/interface/shape_type.h"

namespace jttk {

namespace {

// One value of `width` floats per corner; the first three are handed out. Corners without a record get zeros.
float* gather(const std::vector<float>& values, std::size_t width, const std::uint32_t* corners,
              std::size_t count) {
  auto result = std::make_unique_for_overwrite<float[]>(3 * count);
  float* to = result.get();
  for (std::size_t i = 0; i < count; ++i, to += 3) {
    const std::size_t from = corners[i] * width;
    const bool has_record = corners[i] != ShapeGeometry::kNoRecord && from + 3 <= values.size();
    for (std::size_t k = 0; k < 3; ++k) to[k] = has_record ? values[from + k] : 0.0F;
  }
  return result.release();
}

void reverseTriples(float* values, std::size_t count) {
  for (std::size_t i = 0; i < count / 2; ++i) {
    std::swap_ranges(values + 3 * i, values + 3 * i + 3, values + 3 * (count - 1 - i));
  }
}

}  // namespace

ShapeObject::ShapeObject(Objects& objects, NodeRef node, std::string part_name, FromAbove from_above)
    : objects_(objects), node_(node), part_name_(std::move(part_name)), from_above_(from_above) {}

ShapeObject::ShapeObject(Objects& objects, Part& part, JtkMaterial* material)
    : objects_(objects), part_(&part), from_above_{nullptr, material} {}

ShapeObject::ShapeObject(Objects& objects, std::shared_ptr<const ShapeArrays> arrays)
    : objects_(objects), turned_(kTessellatedStripsAreBackwards), arrays_(std::move(arrays)) {
  takeFacts();
}

void ShapeObject::takeFacts() {
  type_ = shapeType(arrays_->geometry, node_.file == nullptr ? NodeKind::TriStripSet : node_.data().kind);
  primitive_count_ = static_cast<int>(arrays_->geometry.primitiveCount());
}

bool ShapeObject::acquire() {
  if (arrays_) return true;
  arrays_ = part_ != nullptr ? part_->exactArrays(currentTessValues())
                             : objects_.model().shapeArrays(node_, part_name_);
  if (!arrays_) return false;
  if (from_above_.transform != nullptr)
    arrays_ = std::make_shared<const ShapeArrays>(transformed(*arrays_, *from_above_.transform));
  takeFacts();
  objects_.model().holds(*this);
  return true;
}

std::optional<ShapeObject::Set> ShapeObject::set(int index) {
  if (index < 0 || index >= primitive_count_ || !acquire()) return std::nullopt;
  const auto& starts = arrays_->geometry.primitive_starts;
  const std::size_t first = starts[static_cast<std::size_t>(index)];
  return Set{first, starts[static_cast<std::size_t>(index) + 1] - first};
}

int ShapeObject::getPrimitiveSetArrays(int set_index, float*& vertices, int& vertex_count, float*& normals,
                                       int& normal_count, float*& colors, int& color_count,
                                       float*& texture_coordinates, int& texture_coordinate_count) {
  colors = nullptr;
  texture_coordinates = nullptr;
  if (copyGeometry(set_index, false, {vertices, vertex_count, normals, normal_count}) == 0) return 0;
  const auto [first, count] = *set(set_index);
  const ShapeGeometry& geometry = arrays_->geometry;
  if (count == 0 || geometry.corner_records.empty()) return 1;
  const std::uint32_t* records = geometry.corner_records.data() + first;
  if (!geometry.colors.empty()) {
    colors = gather(geometry.colors, 4, records, count);
    color_count = static_cast<int>(count);
  }
  if (!geometry.texture_coordinates.empty()) {
    texture_coordinates = gather(geometry.texture_coordinates, 3, records, count);
    texture_coordinate_count = static_cast<int>(count);
  }
  return 1;
}

int ShapeObject::getPrimitiveSetGeometry(int set_index, float*& vertices, int& vertex_count, float*& normals,
                                         int& normal_count) {
  return copyGeometry(set_index, turned_, {vertices, vertex_count, normals, normal_count});
}

int ShapeObject::copyGeometry(int set_index, bool backwards, const GeometryCopies& copies) {
  auto& [vertices, vertex_count, normals, normal_count] = copies;
  vertices = nullptr;
  normals = nullptr;
  const std::optional<Set> found = set(set_index);
  if (!found) return 0;
  const auto [first, count] = *found;
  vertex_count = static_cast<int>(count);
  if (count == 0) return 1;
  const ShapeGeometry& geometry = arrays_->geometry;
  vertices = gather(geometry.positions, 3, geometry.corner_positions.data() + first, count);
  if (!geometry.normals.empty() && !geometry.corner_records.empty()) {
    normals = gather(geometry.normals, 3, geometry.corner_records.data() + first, count);
    normal_count = static_cast<int>(count);
  }
  if (backwards) {
    reverseTriples(vertices, count);
    if (normals != nullptr) reverseTriples(normals, count);
  }
  return 1;
}

}  // namespace jttk
