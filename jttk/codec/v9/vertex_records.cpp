// Vertex arrays: I32 count, U8 components, how they are quantised, packets, hash. No bits means float bits.
#include "jttk/codec/v9/vertex_records.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <string>

#include "jttk/codec/hsv.h"
#include "jttk/codec/normals.h"
#include "jttk/codec/quantizer.h"
#include "jttk/codec/stated_box.h"
#include "jttk/codec/v9/component_arrays.h"

namespace jttk {
namespace {

// Codes above the quantiser's largest would be points outside of its range.
constexpr std::uint32_t kMaximumQuantizerBits = 32;
constexpr std::uint32_t kColorComponents = 4;
constexpr std::uint32_t kMaximumTextureComponents = 4;
constexpr std::uint32_t kFloatsPerPoint = 3;
constexpr std::uint32_t kMaximumCoordinateComponents = 4;

struct ArrayHeader {
  std::uint32_t components = 0;
  std::uint32_t bits = 0;  // 0 = lossless
};

Result<ArrayHeader> readArrayHeader(ByteReader& reader, const char* what, std::uint32_t count,
                                    bool with_bits) {
  const std::uint64_t start = reader.offset();
  const std::uint32_t stored = reader.count(what);
  ArrayHeader header;
  header.components = reader.u8(what);
  if (with_bits) header.bits = reader.u8(what);
  if (!reader.ok()) return reader.unexpected();
  if (stored != count) {
    return fail(
        std::string(what) + ": " + std::to_string(stored) + " entries instead of " + std::to_string(count),
        start);
  }
  return header;
}

Result<UniformQuantizer> readQuantizer(ByteReader& reader, const char* what) {
  const std::uint64_t start = reader.offset();
  UniformQuantizer quantizer;
  quantizer.minimum = reader.f32(what);
  quantizer.maximum = reader.f32(what);
  quantizer.bits = reader.u8(what);
  if (!reader.ok()) return reader.unexpected();
  if (quantizer.bits > kMaximumQuantizerBits) {
    return fail(std::string(what) + ": a quantiser of " + std::to_string(quantizer.bits) + " bits", start);
  }
  return quantizer;
}

// Every n-th float of `target`, from `first` on.
void dequantizeInto(std::span<const std::int32_t> codes, const UniformQuantizer& quantizer, float* first,
                    std::size_t stride) {
  const Dequantizer value(quantizer);
  for (std::size_t i = 0; i < codes.size(); ++i)
    first[i * stride] = value(static_cast<std::uint32_t>(codes[i]));
}

void floatsInto(std::span<const std::int32_t> bits, float* first, std::size_t stride) {
  for (std::size_t i = 0; i < bits.size(); ++i) first[i * stride] = std::bit_cast<float>(bits[i]);
}

}  // namespace

struct VertexArrayReader::CoordinateLayout {
  std::uint32_t count = 0;
  std::uint32_t components = 0;
  std::array<UniformQuantizer, kFloatsPerPoint> quantizers;
};

Result<void> VertexArrayReader::makeRoom(std::vector<float>& values, std::size_t count, float fill) {
  if (auto taken = packets_.memory().take(count, sizeof(float), reader_.offset()); !taken) return taken;
  values.assign(count, fill);
  return {};
}

Result<void> VertexArrayReader::readHeader(ShapeFacts& facts) {
  facts.bindings = reader_.u64("vertex bindings");
  for (std::uint8_t& bits : facts.quantization_bits) bits = reader_.u8("quantisation");
  if (!reader_.ok()) return reader_.unexpected();
  return {};
}

Result<void> VertexArrayReader::readCoordinates(std::uint32_t count, ShapeGeometry& shape) {
  const auto header = readArrayHeader(reader_, "coordinates", count, false);
  if (!header) return passOn(header);
  if (header->components < 2 || header->components > kMaximumCoordinateComponents) {
    return fail("coordinates with " + std::to_string(header->components) + " components", reader_.offset());
  }
  CoordinateLayout layout{count, header->components, {}};
  std::uint32_t bits = 0;
  for (auto& quantizer : layout.quantizers) {
    const auto read = readQuantizer(reader_, "coordinates");
    if (!read) return passOn(read);
    quantizer = *read;
    bits |= quantizer.bits;
  }
  // Quantisers of 0 bits mean floats or, if all vertices coincide, codes.
  const bool lossless = bits == 0 && shape.facts.quantization_bits[0] == 0;
  const ByteReader before = reader_;
  auto done = readCoordinatesAs(layout, lossless, false, shape);
  const auto tryAgain = [&](bool as_floats, bool box_decides) {
    const ByteReader failed = reader_;
    reader_ = before;
    auto other = readCoordinatesAs(layout, as_floats, box_decides, shape);
    if (other) {
      done = other;
    } else {
      reader_ = failed;
    }
  };
  if (!done && bits == 0) tryAgain(!lossless, false);
  if (!done && box_ != nullptr) tryAgain(lossless, true);
  return done;
}

Result<void> VertexArrayReader::readCoordinatesAs(const CoordinateLayout& layout, bool lossless,
                                                  bool box_decides, ShapeGeometry& shape) {
  constexpr const char* kWhat = "coordinates";
  const HashRule rule = box_decides ? HashRule::Ignore : HashRule::MustAgree;
  const TemporaryMemory temporary(packets_.memory(), shape.positions);
  ComponentArrays arrays(reader_, packets_, layout.count);
  const std::uint64_t start = reader_.offset();
  auto done = lossless ? arrays.readFloatBits(kWhat, layout.components, Predictor::Lag1, rule)
                       : arrays.readCodes(kWhat, layout.components, Predictor::Lag1, rule);
  if (done) done = makeRoom(shape.positions, std::size_t{layout.count} * kFloatsPerPoint, 0.0F);
  if (!done) return done;
  shape.facts.lossless = lossless;
  shape.facts.coordinate_steps = {};
  shape.facts.coordinate_hash_checked = arrays.hashAgrees();
  // Missing ones are 0. A fourth one, which has no quantiser, is dropped.
  const auto fill = [&] {
    for (std::uint32_t i = 0; i < std::min(layout.components, kFloatsPerPoint); ++i) {
      float* const first = shape.positions.data() + i;
      const UniformQuantizer& quantizer = layout.quantizers[i];
      if (lossless) {
        floatsInto(arrays.component(i), first, kFloatsPerPoint);
      } else {
        dequantizeInto(arrays.component(i), quantizer, first, kFloatsPerPoint);
        shape.facts.coordinate_steps[i] =
            static_cast<float>((static_cast<double>(quantizer.maximum) - quantizer.minimum) /
                               std::max(1.0, quantizer.largestCode()));
      }
    }
  };
  fill();
  if (!box_decides) return {};
  // Without the hash to decide, both predictors are tried.
  const auto fits = [&] { return fillsBox(shape.positions, shape.facts.coordinate_steps, *box_); };
  if (!fits()) {
    arrays.exchangePredictors(Predictor::Lag1);
    fill();
    if (!fits()) return fail("coordinates do not fill the box that the node states", start);
  }
  shape.facts.coordinate_note =
      makeError("coordinates do not agree with their hash, but fill the box that the node states", start)
          .text();
  return {};
}

// Attributes do not reach the scene, and the layouts of some are not confirmed by files. One that cannot be
// read is dropped with those behind it; the shape stays.
void VertexArrayReader::readAttributes(std::uint32_t count, bool with_extras, ShapeGeometry& shape) {
  const std::uint64_t present = shape.facts.bindings;
  Result<void> done;
  const auto keep = [&](auto& values) {
    if (done) return;
    shape.facts.unread_attributes = done.error().text();
    values = {};
  };
  if ((present & bindings::kNormals) != 0) {
    done = readNormals(count, shape.normals);
    keep(shape.normals);
  }
  if (done && (present & bindings::kColors) != 0) {
    done = readColors(count, shape.colors);
    keep(shape.colors);
  }
  if (!with_extras) return;
  std::vector<float> dropped;
  for (std::uint32_t channel = 0; channel < bindings::kTextureChannels && done; ++channel) {
    if (((present >> (bindings::kFirstTextureBit + 4 * channel)) & 15U) == 0) continue;
    std::vector<float>& values = channel == 0 ? shape.texture_coordinates : dropped;
    done = readTextureCoordinates(count, values);
    keep(values);
  }
  if (done && (present & bindings::kVertexFlags) != 0) {
    done = readVertexFlags(count, shape.vertex_flags);
    keep(shape.vertex_flags);
  }
}

Result<void> VertexArrayReader::readNormals(std::uint32_t count, std::vector<float>& normals) {
  const TemporaryMemory temporary(packets_.memory(), normals);
  const auto header = readArrayHeader(reader_, "normals", count, true);
  if (!header) return passOn(header);
  if (header->components != kFloatsPerPoint) {
    return fail("normals with " + std::to_string(header->components) + " components", reader_.offset());
  }
  if (header->bits > kMaximumNormalBits) {
    return fail("normals of " + std::to_string(header->bits) + " bits", reader_.offset());
  }
  if (header->bits != 0) return readPackedNormals(header->bits, count, normals);
  ComponentArrays arrays(reader_, packets_, count);
  auto done = arrays.readFloatBits("normals", header->components, Predictor::Null);
  if (!done) return done;
  done = makeRoom(normals, std::size_t{count} * kFloatsPerPoint, 0.0F);
  if (!done) return done;
  for (std::uint32_t i = 0; i < header->components; ++i) {
    floatsInto(arrays.component(i), normals.data() + i, kFloatsPerPoint);
  }
  return {};
}

// JT 9: four packets, for sextants, octants, and the two angles. JT 10: one packet with all four in each
// code, the sextant uppermost.
Result<void> VertexArrayReader::readPackedNormals(std::uint32_t bits, std::uint32_t count,
                                                  std::vector<float>& normals) {
  const TemporaryMemory temporary(packets_.memory(), normals);
  const std::uint64_t start = reader_.offset();
  const bool packed = packets_.form() == PacketForm::V10;
  ComponentArrays arrays(reader_, packets_, count);
  auto done = arrays.readCodes("normals", packed ? 1 : 4, Predictor::Null);
  if (!done) return done;
  done = makeRoom(normals, std::size_t{count} * kFloatsPerPoint, 0.0F);
  if (!done) return done;
  const NormalDecoder decoder(bits);
  const std::uint32_t angle_mask = (1U << bits) - 1;
  for (std::size_t i = 0; i < count; ++i) {
    const auto code = [&](std::uint32_t k) { return static_cast<std::uint32_t>(arrays.component(k)[i]); };
    float* const normal = normals.data() + i * kFloatsPerPoint;
    const bool known = packed ? decoder.decode(code(0) >> (2 * bits + 3), (code(0) >> (2 * bits)) & 7U,
                                               (code(0) >> bits) & angle_mask, code(0) & angle_mask, normal)
                              : decoder.decode(code(0), code(1), code(2), code(3), normal);
    if (!known) return fail("normals: a code outside of the sphere", start);
  }
  return {};
}

Result<void> VertexArrayReader::readColors(std::uint32_t count, std::vector<float>& colors) {
  const TemporaryMemory temporary(packets_.memory(), colors);
  const auto header = readArrayHeader(reader_, "colours", count, true);
  if (!header) return passOn(header);
  if (header->components < 3 || header->components > kColorComponents) {
    return fail("colours with " + std::to_string(header->components) + " components", reader_.offset());
  }
  ComponentArrays arrays(reader_, packets_, count);
  // Alpha is 1 where it is not stored.
  auto done = makeRoom(colors, std::size_t{count} * kColorComponents, 1.0F);
  if (!done) return done;
  if (header->bits == 0) {
    done = arrays.readFloatBits("colours", header->components, Predictor::Lag1);
    if (!done) return done;
    for (std::uint32_t i = 0; i < header->components; ++i) {
      floatsInto(arrays.component(i), colors.data() + i, kColorComponents);
    }
    return {};
  }
  const bool hsv = reader_.u8("colours") != 0;
  std::array<UniformQuantizer, kColorComponents> quantizers;
  for (std::uint32_t i = 0; i < kColorComponents; ++i) {
    if (hsv) {
      quantizers[i] = {0.0F, i == 0 ? 6.0F : 1.0F, reader_.u8("colours")};
      if (quantizers[i].bits > kMaximumQuantizerBits) {
        return fail("colours: a quantiser of " + std::to_string(quantizers[i].bits) + " bits",
                    reader_.offset());
      }
      continue;
    }
    const auto read = readQuantizer(reader_, "colours");
    if (!read) return passOn(read);
    quantizers[i] = *read;
  }
  // Four packets even where three components are stated.
  done = arrays.readCodes("colours", kColorComponents, Predictor::Null);
  if (!done) return done;
  for (std::uint32_t i = 0; i < kColorComponents; ++i) {
    if (i == 3 && header->components == 3) break;
    dequantizeInto(arrays.component(i), quantizers[i], colors.data() + i, kColorComponents);
  }
  if (hsv) {
    for (std::size_t i = 0; i < count; ++i) rgbFromHsv(colors.data() + i * kColorComponents);
  }
  return {};
}

Result<void> VertexArrayReader::readTextureCoordinates(std::uint32_t count, std::vector<float>& coordinates) {
  const TemporaryMemory temporary(packets_.memory(), coordinates);
  const auto header = readArrayHeader(reader_, "texture coordinates", count, true);
  if (!header) return passOn(header);
  if (header->components < 1 || header->components > kMaximumTextureComponents) {
    return fail("texture coordinates with " + std::to_string(header->components) + " components",
                reader_.offset());
  }
  std::array<UniformQuantizer, kMaximumTextureComponents> quantizers;
  for (std::uint32_t i = 0; i < header->components && header->bits != 0; ++i) {
    const auto read = readQuantizer(reader_, "texture coordinates");
    if (!read) return passOn(read);
    quantizers[i] = *read;
  }
  ComponentArrays arrays(reader_, packets_, count);
  auto done = header->bits == 0
                  ? arrays.readFloatBits("texture coordinates", header->components, Predictor::Lag1)
                  : arrays.readCodes("texture coordinates", header->components, Predictor::Null);
  if (!done) return done;
  done = makeRoom(coordinates, std::size_t{count} * kFloatsPerPoint, 0.0F);
  if (!done) return done;
  for (std::uint32_t i = 0; i < header->components && i < kFloatsPerPoint; ++i) {
    if (header->bits == 0) {
      floatsInto(arrays.component(i), coordinates.data() + i, kFloatsPerPoint);
    } else {
      dequantizeInto(arrays.component(i), quantizers[i], coordinates.data() + i, kFloatsPerPoint);
    }
  }
  return {};
}

Result<void> VertexArrayReader::readVertexFlags(std::uint32_t count, std::vector<std::uint32_t>& flags) {
  const std::uint64_t start = reader_.offset();
  const std::uint32_t stored = reader_.count("vertex flags");
  if (!reader_.ok()) return reader_.unexpected();
  if (stored != count) {
    return fail("vertex flags: " + std::to_string(stored) + " entries instead of " + std::to_string(count),
                start);
  }
  std::vector<std::int32_t> values;
  auto done = packets_.readExactly(reader_, "vertex flags", Predictor::Null, count, values);
  if (!done) return done;
  flags.assign(values.begin(), values.end());
  return {};
}

}  // namespace jttk
