// Primitive sets: any bytes as the element's body and as what the scene graph states. The first byte chooses
// version and byte order; 28 bytes of box and area follow, then the body. Bits 5 and 6 of the first byte: the
// bytes are not a set but three numbers per primitive, from which a set with a valid layout is made. Seeds:
// corpus/primitive_set_fuzz.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "jttk/codec/primitives/primitive_meaning.h"
#include "jttk/codec/primitives/primitive_set.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

void check(const jttk::PrimitiveSet& set, const jttk::StatedExtent& stated) {
  require(!set.primitives.empty());
  for (const jttk::Primitive& primitive : set.primitives) {
    require(static_cast<std::size_t>(primitive.type) < jttk::kPrimitiveTypes);
    for (const float value : primitive.origin) require(std::isfinite(value));
    for (const float value : primitive.size) require(std::isfinite(value));
  }
  const auto mesh = jttk::meshOfPrimitives(set, {&stated, 1}, 0);
  if (!mesh) return;
  const std::size_t corners = mesh->corner_positions.size();
  require(mesh->primitive_starts.front() == 0 && mesh->primitive_starts.back() == corners);
  require(mesh->corner_records.size() == corners);
  for (std::size_t i = 1; i < mesh->primitive_starts.size(); ++i) {
    require(mesh->primitive_starts[i] >= mesh->primitive_starts[i - 1] + 3);
  }
  for (const std::uint32_t position : mesh->corner_positions) require(position < mesh->positions.size() / 3);
  for (const std::uint32_t record : mesh->corner_records) {
    require(record < mesh->normals.size() / 3);
    require(mesh->colors.empty() == !set.has_colors);
  }
  require(mesh->colors.empty() || mesh->colors.size() / 4 == mesh->normals.size() / 3);
  // The mesh fills the box that was stated.
  for (std::size_t i = 0; i < mesh->positions.size(); ++i) {
    const std::size_t k = i % 3;
    const double slack = 0.05 * (double{stated.box[k + 3]} - stated.box[k]);
    require(mesh->positions[i] >= stated.box[k] - slack && mesh->positions[i] <= stated.box[k + 3] + slack);
  }
}

// A set of few primitives straight from the bytes.
jttk::PrimitiveSet anySet(jttk::ByteReader in) {
  constexpr std::size_t kMost = 8;
  jttk::PrimitiveSet set;
  while (in.remaining() >= 41 && set.primitives.size() < kMost) {
    jttk::Primitive primitive;
    primitive.type = static_cast<jttk::PrimitiveType>(in.u8("type") % jttk::kPrimitiveTypes);
    const auto finite = [&] {
      const float value = in.f32("number");
      return std::isfinite(value) ? value : 1.0F;
    };
    for (float& value : primitive.origin) value = finite();
    for (float& value : primitive.size) value = finite();
    double squared = 0;
    for (float& value : primitive.rotation) {
      value = finite();
      squared += double{value} * value;
    }
    const bool is_turn = squared > 1e-30 && squared < 1e60;
    for (float& value : primitive.rotation) {
      value = is_turn ? static_cast<float>(value / std::sqrt(squared)) : 0.5F;
    }
    set.primitives.push_back(primitive);
  }
  return set;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 29) return 0;
  static constexpr jttk::Version kVersions[] = {{8, 1}, {9, 5}, {10, 0}};
  const auto order = (data[0] & 0x80U) != 0 ? jttk::ByteOrder::Big : jttk::ByteOrder::Little;
  jttk::ByteReader in(std::as_bytes(std::span(data + 1, size - 1)), order);
  jttk::StatedExtent stated;
  for (float& value : stated.box) value = in.f32("box");
  stated.area = in.f32("area");
  if ((data[0] & 0x60U) == 0x60U) {
    const jttk::PrimitiveSet set = anySet(in);
    if (!set.primitives.empty()) check(set, stated);
    return 0;
  }
  const auto set = jttk::decodePrimitiveSet(in.sub(in.remaining(), "body"), kVersions[(data[0] & 0x1fU) % 3]);
  // Many round solids take long and test nothing new.
  if (set && set->primitives.size() < 200) check(*set, stated);
  return 0;
}
