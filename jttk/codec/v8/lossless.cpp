// Lossless vertex data of JT 8.x: one record of floats per corner, in corner order, usually packed with zlib.
// A record is texture coordinates, colour, normal, as far as they are bound, and the position last. No known
// file shows whether attributes per facet or primitive are part of a record, or whether a colour may have an
// alpha: both are inferred from the records' size.
#include <algorithm>
#include <bit>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "jttk/codec/v8/shape_data.h"
#include "jttk/file/inflate.h"

namespace jttk::v8 {

namespace {

constexpr std::size_t kFloatBytes = 4;

// Which floats of a record are what. kAbsent: not there.
struct RecordLayout {
  static constexpr std::size_t kAbsent = ~std::size_t{0};
  std::size_t texture = kAbsent;
  std::size_t color = kAbsent;
  std::size_t normal = kAbsent;
  std::size_t position = 0;
  std::size_t float_count = 0;
  std::size_t color_count = 3;

  RecordLayout(const Bindings& bindings, bool vertices_only, std::size_t color_floats)
      : color_count(color_floats) {
    texture = add(bindings.texture, vertices_only, 2);
    color = add(bindings.color, vertices_only, color_floats);
    normal = add(bindings.normal, vertices_only, 3);
    position = add(Binding::Vertex, vertices_only, 3);
  }

 private:
  std::size_t add(Binding binding, bool vertices_only, std::size_t count) {
    if (binding == Binding::None || (vertices_only && binding != Binding::Vertex)) return kAbsent;
    const std::size_t column = float_count;
    float_count += count;
    return column;
  }
};

struct Block {
  std::span<const std::byte> bytes;
  std::vector<std::byte> unpacked;  // what `bytes` shows, when it was packed
};

// I32 size, I32 packed size, then a zlib stream; a packed size that is not positive is that of plain bytes,
// turned negative.
Result<Block> readBlock(ByteReader& in, std::size_t maximum_bytes, MemoryBudget& memory) {
  const std::uint64_t offset = in.offset();
  const std::uint32_t size = in.count("size of the vertex records");
  const std::int64_t stored = in.i32("packed size of the vertex records");
  if (!in.ok()) return in.unexpected();
  if (size > maximum_bytes) {
    return fail("vertex records: " + std::to_string(size) + " bytes are more than the element can hold",
                offset);
  }
  // The records themselves, and the arrays that are made of them.
  if (auto taken = memory.take(size, 3, offset); !taken) return passOn(taken);
  Block block;
  const std::uint64_t packed_offset = in.offset();
  const std::span<const std::byte> bytes =
      in.take(static_cast<std::size_t>(std::abs(stored)), "vertex records");
  if (!in.ok()) return in.unexpected();
  block.bytes = bytes;
  if (stored > 0) {
    Result<std::vector<std::byte>> unpacked = inflateZlib(bytes, packed_offset, size);
    if (!unpacked) return tl::unexpected(unpacked.error().in("vertex records"));
    block.unpacked = std::move(*unpacked);
    block.bytes = block.unpacked;
  }
  if (block.bytes.size() == size) return block;
  return fail("vertex records: " + std::to_string(block.bytes.size()) + " bytes where " +
                  std::to_string(size) + " are announced",
              offset);
}

// `count` floats from float `first` of each record on, and how they are stored: `stride` floats per record,
// the rest of which are `fill`.
struct Column {
  std::size_t first;
  std::size_t count;
  std::size_t stride;
  float fill;
};

template <ByteOrder order>
void copyColumn(std::span<const std::byte> bytes, std::size_t record_floats, const Column& column,
                std::vector<float>& target) {
  if (column.first == RecordLayout::kAbsent) return;
  const std::size_t record_bytes = record_floats * kFloatBytes;
  const std::size_t record_count = bytes.size() / record_bytes;
  target.assign(record_count * column.stride, column.fill);
  for (std::size_t record = 0; record < record_count; ++record) {
    ByteReader floats(
        bytes.subspan(record * record_bytes + column.first * kFloatBytes, column.count * kFloatBytes), order);
    for (std::size_t i = 0; i < column.count; ++i) target[record * column.stride + i] = floats.f32("float");
  }
}

template <ByteOrder order>
void copyRecords(std::span<const std::byte> bytes, const RecordLayout& layout, bool with_texture,
                 ShapeGeometry& geometry) {
  const std::size_t size = layout.float_count;
  if (with_texture) {
    copyColumn<order>(bytes, size, {layout.texture, 2, 3, 0.0F}, geometry.texture_coordinates);
  }
  copyColumn<order>(bytes, size, {layout.color, layout.color_count, 4, 1.0F}, geometry.colors);
  copyColumn<order>(bytes, size, {layout.normal, 3, 3, 0.0F}, geometry.normals);
  copyColumn<order>(bytes, size, {layout.position, 3, 3, 0.0F}, geometry.positions);
}

constexpr std::size_t kMostRecordFloats = 2 + 4 + 3 + 3;

// The first layout, from the likeliest on, whose records fill `size` bytes: exactly `corners` of them where
// that is known.
std::optional<RecordLayout> layoutOf(const Bindings& bindings, std::size_t size,
                                     std::optional<std::size_t> corners) {
  for (const std::size_t color_floats : {3U, 4U}) {
    for (const bool vertices_only : {true, false}) {
      const RecordLayout layout(bindings, vertices_only, color_floats);
      const std::size_t record_bytes = layout.float_count * kFloatBytes;
      if (corners ? *corners * record_bytes == size : size % record_bytes == 0) return layout;
    }
  }
  return std::nullopt;
}

// Attributes found in the records count as per vertex; others are dropped, which is told of those that were
// `asked` for.
void bindAsRead(Binding& binding, std::size_t column, const char* what, bool asked, ShapeFacts& facts) {
  if (binding == Binding::None) return;
  if (column == RecordLayout::kAbsent && asked)
    facts.unread_attributes = std::string(what) + " per facet or primitive";
  binding = column == RecordLayout::kAbsent ? Binding::None : Binding::Vertex;
}

}  // namespace

Result<void> readLossless(ByteReader& in, Context& context, ShapeGeometry& geometry) {
  const std::uint64_t offset = in.offset();
  std::optional<std::size_t> listed_corners;
  if (!geometry.primitive_starts.empty()) listed_corners = geometry.primitive_starts.back();
  const std::size_t most_corners =
      listed_corners.value_or(std::min(context.values_left, context.most_corners));
  const Result<Block> block = readBlock(in, most_corners * kMostRecordFloats * kFloatBytes, *context.memory);
  if (!block) return passOn(block);
  const std::size_t size = block->bytes.size();
  const std::optional<RecordLayout> layout = layoutOf(context.bindings, size, listed_corners);
  if (!layout) {
    const RecordLayout usual(context.bindings, true, 3);
    return fail("vertex records: " + std::to_string(size) + " bytes for " +
                    (listed_corners ? std::to_string(*listed_corners) + " " : std::string()) + "corners of " +
                    std::to_string(usual.float_count * kFloatBytes),
                offset);
  }
  if (in.order() == ByteOrder::Little) {
    copyRecords<ByteOrder::Little>(block->bytes, *layout, context.extra_attributes, geometry);
  } else {
    copyRecords<ByteOrder::Big>(block->bytes, *layout, context.extra_attributes, geometry);
  }
  bindAsRead(context.bindings.normal, layout->normal, "normals", true, geometry.facts);
  bindAsRead(context.bindings.texture, layout->texture, "texture coordinates", context.extra_attributes,
             geometry.facts);
  bindAsRead(context.bindings.color, layout->color, "colours", true, geometry.facts);
  // Without a primitive list every record is a corner.
  const std::size_t corner_count = size / (layout->float_count * kFloatBytes);
  context.undecoded_textures = corner_count;
  geometry.corner_positions.resize(corner_count);
  for (std::size_t i = 0; i < corner_count; ++i) geometry.corner_positions[i] = static_cast<std::uint32_t>(i);
  return {};
}

}  // namespace jttk::v8
