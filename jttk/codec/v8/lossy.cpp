// Quantised vertex data of JT 8.x. Per component one packet of codes: coordinates first, then normals,
// texture coordinates and colours as far as they are bound, and at last an index per corner.
#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <string>
#include <utility>

#include "jttk/codec/hsv.h"
#include "jttk/codec/normals.h"
#include "jttk/codec/predictors.h"
#include "jttk/codec/quantizer.h"
#include "jttk/codec/v8/packet.h"
#include "jttk/codec/v8/shape_data.h"

namespace jttk::v8 {

namespace {

using Values = std::vector<std::int32_t>;

constexpr std::uint8_t kMaximumBits = 32;

std::uint8_t readBits(ByteReader& in, const char* what) {
  const std::uint8_t bits = in.u8(what);
  if (bits > kMaximumBits) in.setFailed(what, "is more than 32");
  return bits;
}

UniformQuantizer readQuantizer(ByteReader& in) {
  UniformQuantizer quantizer;
  quantizer.minimum = in.f32("quantiser minimum");
  quantizer.maximum = in.f32("quantiser maximum");
  quantizer.bits = readBits(in, "quantiser bits");
  return quantizer;
}

// The same, and the packet holds no fewer values either.
Result<void> readAllValues(ByteReader& in, Context& context, const ExpectedPacket& packet, Values& values) {
  const std::uint64_t offset = in.offset();
  if (Result<void> read = readValues(in, context, packet, values); !read) return read;
  if (values.size() == packet.maximum_count) return {};
  return fail(std::string(packet.what) + ": " + std::to_string(values.size()) + " values, " +
                  std::to_string(packet.maximum_count) + " expected",
              offset);
}

// An array of records that is being filled, one component after the other.
struct Records {
  std::vector<float>& values;
  Values& codes;  // of the component at hand: scratch, kept for its memory
  std::size_t count = 0;
  std::size_t stride = 0;  // components per record
};

struct Component {
  std::size_t number;  // within a record
  const char* what;    // names its codes in messages
  const UniformQuantizer& quantizer;
};

// Reads one quantised component of all records. Memory for the records is taken once their first packet has
// turned out to hold as many values as announced.
Result<void> readQuantized(ByteReader& in, Context& context, const Component& component, Records& records) {
  const std::uint64_t offset = in.offset();
  const ExpectedPacket packet{component.what, Predictor::Lag1, records.count};
  if (Result<void> read = readAllValues(in, context, packet, records.codes); !read) return read;
  if (component.number == 0) {
    auto taken = context.memory->take(records.count, records.stride * sizeof(float), offset);
    if (!taken) return taken;
    records.values.resize(records.count * records.stride);
  }
  const Dequantizer dequantize(component.quantizer);
  std::uint32_t greatest = 0;
  std::size_t index = component.number;
  for (const std::int32_t value : records.codes) {
    const auto code = static_cast<std::uint32_t>(value);
    greatest = std::max(greatest, code);
    records.values[index] = dequantize(code);
    index += records.stride;
  }
  // Some writers round up to one code beyond the largest.
  if (greatest <= component.quantizer.largestCode() + 1) return {};
  return fail(std::string(component.what) + ": code " + std::to_string(greatest) + " has more than " +
                  std::to_string(component.quantizer.bits) + " bits",
              offset);
}

Result<std::size_t> readCount(ByteReader& in, std::size_t maximum_count, const char* what) {
  const std::uint64_t offset = in.offset();
  const std::uint32_t count = in.count(what);
  if (!in.ok()) return in.unexpected();
  if (count <= maximum_count) return static_cast<std::size_t>(count);
  return fail(std::string(what) + ": " + std::to_string(count) + " are more than the element can hold",
              offset);
}

Result<void> readPositions(ByteReader& in, Context& context, ShapeGeometry& geometry, Values& codes) {
  std::array<UniformQuantizer, 3> quantizers;
  for (UniformQuantizer& quantizer : quantizers) {
    quantizer = readQuantizer(in);
    if (!std::isfinite(quantizer.minimum) || !std::isfinite(quantizer.maximum)) {
      in.setFailed("quantiser range", "is not finite");
    }
  }
  const Result<std::size_t> count = readCount(in, context.values_left, "vertex count");
  if (!count) return passOn(count);
  constexpr std::array kNames = {"x codes", "y codes", "z codes"};
  // Without vertices nothing else follows.
  if (*count == 0) return {};
  Records records{geometry.positions, codes, *count, 3};
  for (std::size_t i = 0; i < quantizers.size(); ++i) {
    const double range = static_cast<double>(quantizers[i].maximum) - quantizers[i].minimum;
    geometry.facts.coordinate_steps[i] =
        static_cast<float>(range / std::max(1.0, quantizers[i].largestCode()));
    if (auto read = readQuantized(in, context, {i, kNames[i], quantizers[i]}, records); !read) return read;
  }
  return {};
}

Result<void> readNormals(ByteReader& in, Context& context, std::vector<float>& normals) {
  const std::uint64_t offset = in.offset();
  const std::uint32_t bits = in.u8("normal bits");
  const Result<std::size_t> count = readCount(in, context.values_left, "normal count");
  if (!count) return passOn(count);
  if (bits < 1 || bits > kMaximumNormalBits) {
    return fail("normals: angles of " + std::to_string(bits) + " bits", offset);
  }
  constexpr std::array kNames = {"sextant codes", "octant codes", "theta codes", "psi codes"};
  std::array<Values, 4> codes;
  for (std::size_t i = 0; i < codes.size(); ++i) {
    if (auto read = readAllValues(in, context, {kNames[i], Predictor::Lag1, *count}, codes[i]); !read)
      return read;
  }
  normals.resize(*count * 3);
  const NormalDecoder decoder(bits);
  for (std::size_t i = 0; i < *count; ++i) {
    const auto code = [&](std::size_t component) { return static_cast<std::uint32_t>(codes[component][i]); };
    if (!decoder.decode(code(0), code(1), code(2), code(3), &normals[i * 3])) {
      return fail("normals: the codes of normal " + std::to_string(i) + " are out of range", offset);
    }
  }
  return {};
}

Result<void> readTextureCoordinates(ByteReader& in, Context& context, std::vector<float>& coordinates,
                                    Values& codes) {
  std::array<UniformQuantizer, 2> quantizers;
  for (UniformQuantizer& quantizer : quantizers) quantizer = readQuantizer(in);
  const Result<std::size_t> count = readCount(in, context.values_left, "texture coordinate count");
  if (!count) return passOn(count);
  constexpr std::array kNames = {"u codes", "v codes"};
  Records records{coordinates, codes, *count, 3};
  for (std::size_t i = 0; i < quantizers.size(); ++i) {
    if (auto read = readQuantized(in, context, {i, kNames[i], quantizers[i]}, records); !read) return read;
  }
  return {};
}

Result<void> readColors(ByteReader& in, Context& context, std::vector<float>& colors, Values& codes) {
  const std::uint8_t hsv = in.u8("HSV flag");
  if (hsv > 1) in.setFailed("HSV flag", "is not known");
  std::array<UniformQuantizer, 4> quantizers;
  constexpr std::array kHsvMaximum = {6.0F, 1.0F, 1.0F, 1.0F};
  for (std::size_t i = 0; i < quantizers.size(); ++i) {
    quantizers[i] =
        hsv != 0 ? UniformQuantizer{0.0F, kHsvMaximum[i], readBits(in, "colour bits")} : readQuantizer(in);
  }
  const Result<std::size_t> count = readCount(in, context.values_left, "colour count");
  if (!count) return passOn(count);
  constexpr std::array kNames = {"red or hue codes", "green or saturation codes", "blue or value codes",
                                 "alpha codes"};
  Records records{colors, codes, *count, 4};
  for (std::size_t i = 0; i < quantizers.size(); ++i) {
    if (auto read = readQuantized(in, context, {i, kNames[i], quantizers[i]}, records); !read) return read;
  }
  if (hsv != 0) {
    for (std::size_t i = 0; i < *count; ++i) rgbFromHsv(&colors[i * 4]);
  }
  return {};
}

// An attribute as it is laid out: plain fields, a count, and packets.
struct AttributeLayout {
  std::size_t field_bytes;
  std::size_t packets;
};

struct StoredAttribute {
  AttributeLayout layout;
  Binding& binding;
  std::vector<float>& values;
};

// Reads an attribute with `read`. An unreadable attribute is skipped and its binding set to None: attributes
// do not reach the scene, but the indices behind them are needed. Fails where it cannot be skipped.
template <typename Read>
Result<void> readAttribute(ByteReader& in, ShapeFacts& facts, const StoredAttribute& attribute, Read read) {
  const ByteReader start = in;
  const Result<void> done = read();
  if (done) return {};
  in = start;
  in.skip(attribute.layout.field_bytes + sizeof(std::int32_t), "attribute");
  for (std::size_t i = 0; i < attribute.layout.packets; ++i) {
    if (!skipPacketV8(in)) return done;
  }
  facts.unread_attributes = done.error().text();
  attribute.binding = Binding::None;
  attribute.values = {};
  return {};
}

// Passes over texture coordinates and counts them.
Result<void> skipTextureCoordinates(ByteReader& in, Context& context, const AttributeLayout& layout) {
  in.skip(layout.field_bytes, "texture coordinate quantisers");
  context.undecoded_textures = in.u32("texture coordinate count");
  if (!in.ok()) return in.unexpected();
  for (std::size_t i = 0; i < layout.packets; ++i) {
    if (auto skipped = skipPacketV8(in); !skipped) {
      return tl::unexpected(skipped.error().in("texture coordinates"));
    }
  }
  return {};
}

constexpr std::size_t kQuantizerBytes = 2 * sizeof(float) + 1;
constexpr AttributeLayout kNormalLayout{1, 4};
constexpr AttributeLayout kTextureLayout{2 * kQuantizerBytes, 2};
constexpr AttributeLayout kRgbLayout{1 + 4 * kQuantizerBytes, 4};
constexpr AttributeLayout kHsvLayout{1 + 4, 4};

Result<void> readAttributes(ByteReader& in, Context& context, ShapeGeometry& geometry, Values& scratch) {
  Bindings& bindings = context.bindings;
  ShapeFacts& facts = geometry.facts;
  Result<void> done;
  if (bindings.normal != Binding::None) {
    done = readAttribute(in, facts, {kNormalLayout, bindings.normal, geometry.normals},
                         [&] { return readNormals(in, context, geometry.normals); });
  }
  if (done && bindings.texture != Binding::None && !context.extra_attributes) {
    done = skipTextureCoordinates(in, context, kTextureLayout);
  } else if (done && bindings.texture != Binding::None) {
    done = readAttribute(in, facts, {kTextureLayout, bindings.texture, geometry.texture_coordinates}, [&] {
      return readTextureCoordinates(in, context, geometry.texture_coordinates, scratch);
    });
  }
  if (done && bindings.color != Binding::None) {
    const bool hsv = ByteReader(in).u8("HSV flag") != 0;
    done = readAttribute(in, facts, {hsv ? kHsvLayout : kRgbLayout, bindings.color, geometry.colors},
                         [&] { return readColors(in, context, geometry.colors, scratch); });
  }
  return done;
}

// One vertex per corner.
Result<void> readIndices(ByteReader& in, Context& context, ShapeGeometry& geometry, Values& indices) {
  constexpr const char* kWhat = "vertex indices";
  const std::uint64_t offset = in.offset();
  if (!geometry.primitive_starts.empty()) {
    const std::size_t corner_count = geometry.primitive_starts.back();
    const ExpectedPacket packet{kWhat, Predictor::StripIndex, corner_count};
    if (Result<void> read = readAllValues(in, context, packet, indices); !read) return read;
  } else {  // every index is a corner
    const ExpectedPacket packet{kWhat, Predictor::StripIndex, context.values_left};
    if (Result<void> read = readValues(in, context, packet, indices); !read) return read;
  }
  const std::size_t vertex_count = geometry.positions.size() / 3;
  if (auto taken = context.memory->take(indices.size(), sizeof(std::uint32_t), offset); !taken) return taken;
  geometry.corner_positions.reserve(indices.size());
  for (const std::int32_t stored : indices) {
    const auto index = static_cast<std::uint32_t>(stored);
    if (index >= vertex_count) {
      return fail("vertex indices: " + std::to_string(stored) + " where there are " +
                      std::to_string(vertex_count) + " vertices",
                  offset);
    }
    geometry.corner_positions.push_back(index);
  }
  return {};
}

}  // namespace

Result<void> readLossy(ByteReader& in, Context& context, ShapeGeometry& geometry) {
  Values scratch;
  if (Result<void> read = readPositions(in, context, geometry, scratch); !read) return read;
  const bool corners = !geometry.primitive_starts.empty() && geometry.primitive_starts.back() > 0;
  if (geometry.positions.empty() && !corners) {
    geometry.primitive_starts.clear();
    context.bindings = {};
    return {};
  }
  if (Result<void> read = readAttributes(in, context, geometry, scratch); !read) return read;
  return readIndices(in, context, geometry, scratch);
}

}  // namespace jttk::v8
