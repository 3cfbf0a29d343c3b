// The element: [I32 object id from JT 9 on], version numbers (I16, U8 from JT 10 on), I32 binding of texture
// coordinates, I32 binding of colours, U8[2] bits per vertex and colour, I32 how texture coordinates are
// made; then the primitives. Writers differ in the number of versions and in the last two fields, so the
// header is tried in a few forms; the one that leads exactly to the element's end is right, because the sizes
// behind it agree with no other.
#include "jttk/codec/primitives/primitive_set.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <span>
#include <string>

#include "jttk/codec/hsv.h"
#include "jttk/codec/quantizer.h"
#include "jttk/codec/shape_limits.h"
#include "jttk/codec/v8/packet.h"
#include "jttk/codec/v9/packet.h"
#include "jttk/file/inflate.h"

namespace jttk {

namespace {

constexpr std::uint8_t kMaximumBits = 32;
// How far from 1 the length of a quaternion may be: float arithmetic of a writer, and quantised components.
constexpr double kLosslessLength = 1e-3;
constexpr double kLossyLength = 2e-2;
// Colours may miss 0 .. 1 by this.
constexpr float kColorSlack = 1e-3F;

// One possible layout of the fields in front of the primitives.
struct Form {
  int versions = 1;
  bool has_bits = true;
  enum class Generation : std::uint8_t { None, Plain, Versioned } generation = Generation::Plain;
};

struct Header {
  bool has_colors = false;
  std::uint8_t place_bits = 0;
  std::uint8_t color_bits = 0;
};

void readVersionNumber(ByteReader& in, Version version) {
  const int number = version.major >= 10 ? in.u8("version") : in.i16("version");
  if (number != 1 && number != 2) in.setFailed("version", "is not known");
}

bool readIsBound(ByteReader& in, const char* what) {
  constexpr std::uint32_t kGreatest = 3;  // none, per vertex, per facet, per primitive
  const std::uint32_t binding = in.u32(what);
  if (binding > kGreatest) in.setFailed(what, "is not known");
  return binding != 0;
}

Header readHeader(ByteReader& in, Version version, const Form& form) {
  Header header;
  for (int i = 0; i < form.versions; ++i) readVersionNumber(in, version);
  readIsBound(in, "texture coordinate binding");
  header.has_colors = readIsBound(in, "colour binding");
  if (form.has_bits) {
    header.place_bits = in.u8("bits per vertex");
    header.color_bits = in.u8("bits per colour");
    if (header.place_bits > kMaximumBits || header.color_bits > kMaximumBits) {
      in.setFailed("quantisation bits", "are more than 32");
    }
  }
  if (form.generation == Form::Generation::Versioned) readVersionNumber(in, version);
  if (form.generation != Form::Generation::None && in.u32("texture generation") > 1) {
    in.setFailed("texture generation", "is not known");
  }
  return header;
}

// ---- Lossless: I32 size, I32 packed size, then one record of numbers per primitive.

struct Block {
  std::span<const std::byte> bytes;
  std::vector<std::byte> unpacked;  // what `bytes` shows, when it was packed
};

// A packed size that is not positive is that of plain bytes, turned negative.
Result<Block> readBlock(ByteReader& in) {
  const std::uint64_t offset = in.offset();
  const std::size_t limit = plausibleShapeValues(in.remaining()) * sizeof(float);
  const std::uint32_t size = in.count("size of the primitives");
  const std::int64_t stored = in.i32("packed size of the primitives");
  if (!in.ok()) return in.unexpected();
  const auto stored_size = static_cast<std::size_t>(std::abs(stored));
  if (size > limit) {
    return fail("primitives: " + std::to_string(size) + " bytes are more than the element can hold", offset);
  }
  if (stored_size != in.remaining()) {
    return fail("primitives: " + std::to_string(stored_size) + " bytes are announced, " +
                    std::to_string(in.remaining()) + " are left",
                offset);
  }
  Block block;
  const std::uint64_t packed_offset = in.offset();
  block.bytes = in.take(stored_size, "primitives");
  if (stored > 0) {
    Result<std::vector<std::byte>> unpacked = inflateZlib(block.bytes, packed_offset, size);
    if (!unpacked) return tl::unexpected<Error>(unpacked.error().in("primitives"));
    block.unpacked = std::move(*unpacked);
    block.bytes = block.unpacked;
  }
  if (block.bytes.size() == size) return block;
  return fail("primitives: " + std::to_string(block.bytes.size()) + " bytes where " + std::to_string(size) +
                  " are announced",
              offset);
}

template <std::size_t n>
void readFloats(ByteReader& in, std::array<float, n>& values) {
  for (float& value : values) value = in.f32("number of a primitive");
}

Result<std::vector<Primitive>> readLossless(ByteReader& in, const Header& header) {
  const std::uint64_t offset = in.offset();
  const Result<Block> block = readBlock(in);
  if (!block) return passOn(block);
  // Place, size, rotation, colour, type, reserved.
  const std::size_t record_bytes = (3 + 3 + 4 + (header.has_colors ? 3 : 0) + 2) * sizeof(float);
  if (block->bytes.size() % record_bytes != 0) {
    return fail("primitives: " + std::to_string(block->bytes.size()) + " bytes are no multiple of " +
                    std::to_string(record_bytes),
                offset);
  }
  std::vector<Primitive> primitives(block->bytes.size() / record_bytes);
  ByteReader records(block->bytes, in.order());
  for (Primitive& primitive : primitives) {
    readFloats(records, primitive.origin);
    readFloats(records, primitive.size);
    readFloats(records, primitive.rotation);
    if (header.has_colors) readFloats(records, primitive.color);
    const std::uint32_t type = records.u32("type");
    records.skip(4, "reserved");
    if (type >= kPrimitiveTypes) {
      return fail("primitives: type " + std::to_string(type) + " is not known", offset);
    }
    primitive.type = static_cast<PrimitiveType>(type);
  }
  return primitives;
}

// ---- Lossy: quantisers, a count and a packet of codes per component for origins, sizes, rotations and
// colours; then a packet of types.

class LossyReader {
 public:
  LossyReader(ByteReader& in, Version version)
      : in_(in),
        is_v8_(version.major < 9),
        values_left_(plausibleShapeValues(in.remaining())),
        packets_(version.major < 10 ? PacketForm::V9 : PacketForm::V10, values_left_) {}

  // Reads `n` components of every primitive; `member` says where they go. The first array sets the number of
  // primitives.
  template <std::size_t n>
  Result<void> read(const char* what, std::array<float, n> Primitive::*member,
                    std::vector<Primitive>& primitives) {
    std::array<UniformQuantizer, n> quantizers;
    for (UniformQuantizer& quantizer : quantizers) quantizer = readQuantizer();
    return readColumns<n>(what, quantizers, member, primitives);
  }

  Result<void> readColors(std::vector<Primitive>& primitives) {
    const std::uint8_t hsv = in_.u8("HSV flag");
    if (hsv > 1) in_.setFailed("HSV flag", "is not known");
    constexpr std::array kGreatest = {6.0F, 1.0F, 1.0F, 1.0F};
    std::array<UniformQuantizer, 4> quantizers;
    for (std::size_t i = 0; i < quantizers.size(); ++i) {
      quantizers[i] = hsv != 0 ? UniformQuantizer{0.0F, kGreatest[i], readBits()} : readQuantizer();
    }
    if (auto done = readColumns<3>("colours", quantizers, &Primitive::color, primitives); !done) return done;
    for (Primitive& primitive : primitives) {
      if (hsv != 0) rgbFromHsv(primitive.color.data());
    }
    return {};
  }

  Result<void> readTypes(std::vector<Primitive>& primitives) {
    if (auto done = readCodes("types", primitives.size()); !done) return done;
    for (std::size_t i = 0; i < primitives.size(); ++i) {
      const auto type = static_cast<std::uint32_t>(codes_[i]);
      if (type >= kPrimitiveTypes)
        return fail("types: " + std::to_string(codes_[i]) + " is not known", in_.offset());
      primitives[i].type = static_cast<PrimitiveType>(type);
    }
    return {};
  }

 private:
  std::uint8_t readBits() {
    const std::uint8_t bits = in_.u8("quantiser bits");
    if (bits > kMaximumBits) in_.setFailed("quantiser bits", "are more than 32");
    return bits;
  }

  UniformQuantizer readQuantizer() {
    UniformQuantizer quantizer;
    quantizer.minimum = in_.f32("quantiser minimum");
    quantizer.maximum = in_.f32("quantiser maximum");
    quantizer.bits = readBits();
    return quantizer;
  }

  // More quantisers than `n` have packets too, which are skipped.
  template <std::size_t n, std::size_t quantizer_count>
  Result<void> readColumns(const char* what, const std::array<UniformQuantizer, quantizer_count>& quantizers,
                           std::array<float, n> Primitive::*member, std::vector<Primitive>& primitives) {
    const std::uint64_t offset = in_.offset();
    const std::uint32_t count = in_.count(what);
    if (!in_.ok()) return in_.unexpected();
    const bool first = primitives.empty();
    if (first ? count > values_left_ : count != primitives.size()) {
      return fail(std::string(what) + ": " + std::to_string(count) + " are not the number of primitives",
                  offset);
    }
    for (std::size_t k = 0; k < quantizer_count; ++k) {
      if (auto done = readCodes(what, count); !done) return done;
      if (primitives.empty()) primitives.resize(count);
      const Dequantizer dequantize(quantizers[k]);
      for (std::size_t i = 0; i < count; ++i) {
        const auto code = static_cast<std::uint32_t>(codes_[i]);
        if (code > quantizers[k].largestCode()) {
          return fail(std::string(what) + ": code " + std::to_string(code) + " has too many bits", offset);
        }
        if (k < n) (primitives[i].*member)[k] = dequantize(code);
      }
    }
    return {};
  }

  Result<void> readCodes(const char* what, std::size_t count) {
    if (!is_v8_) {
      return packets_.readExactly(in_, what, Predictor::Lag1, static_cast<std::uint32_t>(count), codes_);
    }
    const std::uint64_t offset = in_.offset();
    if (auto done = decodePacketV8(in_, std::min(count, values_left_), codes_); !done) {
      return tl::unexpected<Error>(done.error().in(what));
    }
    if (codes_.size() != count) {
      return fail(std::string(what) + ": " + std::to_string(codes_.size()) + " values, " +
                      std::to_string(count) + " expected",
                  offset);
    }
    values_left_ -= count;
    undoPredictor(Predictor::Lag1, codes_);
    return {};
  }

  ByteReader& in_;
  bool is_v8_;
  std::size_t values_left_;
  PacketReader packets_;
  std::vector<std::int32_t> codes_;
};

Result<std::vector<Primitive>> readLossy(ByteReader& in, Version version, const Header& header) {
  std::vector<Primitive> primitives;
  LossyReader reader(in, version);
  auto done = reader.read("places", &Primitive::origin, primitives);
  if (done) done = reader.read("sizes", &Primitive::size, primitives);
  if (done) done = reader.read("rotations", &Primitive::rotation, primitives);
  if (done && header.has_colors) done = reader.readColors(primitives);
  if (done) done = reader.readTypes(primitives);
  if (!done) return passOn(done);
  if (!in.ok()) return in.unexpected();
  if (in.remaining() == 0) return primitives;
  return fail("primitives: " + std::to_string(in.remaining()) + " bytes are left over", in.offset());
}

// ---- What must be true of every primitive.

template <std::size_t n>
bool allFinite(const std::array<float, n>& values) {
  return std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); });
}

Result<void> checkPrimitive(const Primitive& primitive, bool has_colors, double length_slack,
                            std::uint64_t offset) {
  if (!allFinite(primitive.origin) || !allFinite(primitive.size) || !allFinite(primitive.rotation)) {
    return fail("has a number that is not finite", offset);
  }
  double squared = 0;
  for (const float component : primitive.rotation) squared += double{component} * component;
  if (std::abs(std::sqrt(squared) - 1) > length_slack) {
    return fail("has a rotation that is none", offset);
  }
  const auto is_off = [](float value) { return !(value >= -kColorSlack && value <= 1 + kColorSlack); };
  if (has_colors && std::any_of(primitive.color.begin(), primitive.color.end(), is_off)) {
    return fail("has a colour that is none", offset);
  }
  return {};
}

Result<PrimitiveSet> decodeForm(ByteReader in, Version version, const Form& form) {
  const std::uint64_t offset = in.offset();
  const Header header = readHeader(in, version, form);
  if (!in.ok()) return in.unexpected();
  auto primitives = header.place_bits == 0 ? readLossless(in, header) : readLossy(in, version, header);
  if (!primitives) return passOn(primitives);
  if (primitives->empty()) return fail("there are no primitives", offset);
  const double slack = header.place_bits == 0 ? kLosslessLength : kLossyLength;
  for (std::size_t i = 0; i < primitives->size(); ++i) {
    if (auto sound = checkPrimitive((*primitives)[i], header.has_colors, slack, offset); !sound) {
      sound.error().what.insert(0, "primitive " + std::to_string(i) + " ");
      return passOn(sound);
    }
  }
  return PrimitiveSet{std::move(*primitives), header.has_colors, header.place_bits, header.color_bits};
}

}  // namespace

Result<PrimitiveSet> decodePrimitiveSet(ByteReader body, Version version) {
  if (version.major >= 9) {
    body.skip(4, "object id");
    if (!body.ok()) return body.unexpected();
  }
  // The base of the element has a version of its own from JT 9 on.
  const int usual_versions = version.major >= 9 ? 2 : 1;
  using Generation = Form::Generation;
  std::optional<Error> first_error;
  for (const int versions : {usual_versions, usual_versions - 1}) {
    for (const bool has_bits : {true, false}) {
      for (const Generation generation : {Generation::Plain, Generation::Versioned, Generation::None}) {
        Result<PrimitiveSet> set = decodeForm(body, version, {versions, has_bits, generation});
        if (set) return set;
        if (!first_error) first_error = set.error();
      }
    }
  }
  return tl::unexpected<Error>(*first_error);
}

}  // namespace jttk
