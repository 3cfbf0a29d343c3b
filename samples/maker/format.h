// Which JT is to be written, and how its numbers are to be coded.
#pragma once

#include <cstdint>
#include <span>

namespace loftbay::maker {

enum class JtVersion : std::uint8_t { V8_0, V8_1, V8_2, V9_0, V9_5, V10_0 };
inline constexpr JtVersion kJtVersions[] = {JtVersion::V8_0, JtVersion::V8_1, JtVersion::V8_2,
                                            JtVersion::V9_0, JtVersion::V9_5, JtVersion::V10_0};

// How arrays of integers are stored. A codec that a version or an array does not allow (MoveToFront before
// 10.0, Huffman after 8.2, …) is replaced by VariableBits.
enum class Codec : std::uint8_t {
  Best,  // the smallest of FixedBits, VariableBits and Arithmetic (8.x: Huffman too)
  Null,
  FixedBits,  // 8.x has one bit length coding only
  VariableBits,
  Arithmetic,
  ArithmeticTwoContexts,  // 8.x
  Chopper,                // 9.0 and later
  MoveToFront,            // 10.0
  Huffman,                // 8.x
};

inline constexpr Codec kCodecs8[] = {Codec::Best,       Codec::Null,    Codec::VariableBits,
                                     Codec::Arithmetic, Codec::Huffman, Codec::ArithmeticTwoContexts};
inline constexpr Codec kCodecs9[] = {Codec::Best,         Codec::Null,       Codec::FixedBits,
                                     Codec::VariableBits, Codec::Arithmetic, Codec::Chopper,
                                     Codec::MoveToFront};

// In names of files and tests.
constexpr const char* nameOf(Codec codec) {
  switch (codec) {
    case Codec::Best:
      return "best";
    case Codec::Null:
      return "null";
    case Codec::FixedBits:
      return "fixed";
    case Codec::VariableBits:
      return "variable";
    case Codec::Arithmetic:
      return "arithmetic";
    case Codec::ArithmeticTwoContexts:
      return "contexts";
    case Codec::Chopper:
      return "chopper";
    case Codec::MoveToFront:
      return "recent";
    case Codec::Huffman:
      return "huffman";
  }
  return "";
}

// All codecs that tests and seeds try in files of a version, those that are replaced in some of them
// included.
constexpr std::span<const Codec> codecsOf(JtVersion version) {
  if (version <= JtVersion::V8_2) return kCodecs8;
  return kCodecs9;
}

struct Options {
  JtVersion version = JtVersion::V9_5;
  bool big_endian = false;
  Codec codec = Codec::Best;

  // Quantisation; 0 = lossless. In 8.x a shape is lossless as a whole when coordinate_bits is 0.
  std::uint8_t coordinate_bits = 0;
  std::uint8_t normal_bits = 0;
  std::uint8_t texture_bits = 0;
  std::uint8_t color_bits = 0;
  // Quantised colours as hue, saturation, value instead of red, green, blue.
  bool hsv_colors = false;
  // Colours and texture coordinates without the Lag1 predictor (9.0 and later).
  bool plain_attributes = false;

  // One strip per shape, its pieces linked by degenerate triangles (8.x).
  bool join_strips = false;
  // LODs in segments of type 6 instead of 7 + level.
  bool plain_shape_segments = false;
  // Compressed segments are stored raw.
  bool stored_segments = false;
  // One .jt file per part in a folder named like the product; the root file refers to them.
  bool external_parts = false;

  // The options as they take effect: in 8.x a quantised shape has no lossless attributes, and a lossless one
  // no quantised ones.
  [[nodiscard]] Options effective() const {
    Options out = *this;
    if (major() == 8) {
      const bool lossy = coordinate_bits > 0;
      out.normal_bits = !lossy ? std::uint8_t{0} : normal_bits > 0 ? normal_bits : std::uint8_t{8};
      out.texture_bits = !lossy ? std::uint8_t{0} : texture_bits > 0 ? texture_bits : std::uint8_t{12};
      out.color_bits = !lossy ? std::uint8_t{0} : color_bits > 0 ? color_bits : std::uint8_t{8};
    }
    return out;
  }

  [[nodiscard]] int major() const {
    return version <= JtVersion::V8_2 ? 8 : version <= JtVersion::V9_5 ? 9 : 10;
  }
  [[nodiscard]] const char* versionText() const {
    constexpr const char* kTexts[] = {"8.0", "8.1", "8.2", "9.0", "9.5", "10.0"};
    return kTexts[static_cast<int>(version)];
  }
};

}  // namespace loftbay::maker
