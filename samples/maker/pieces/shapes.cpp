#include "samples/maker/pieces/shapes.h"

#include <bit>

#include "samples/maker/elements.h"
#include "samples/maker/guids.h"
#include "samples/maker/hash.h"

namespace loftbay::maker::pieces {
namespace {

using Values = std::vector<std::int32_t>;

std::uint32_t hashOf(const std::vector<Values>& arrays) {
  std::uint32_t hash = 0;
  for (const Values& values : arrays) hash = hashWords(values, hash);
  return hash;
}

// Quantised components: packets and their hash.
void addCodes(ByteBuilder& out, const std::vector<Values>& components, Predictor predictor, PacketForm form) {
  for (const Values& codes : components) addPacket(out, codes, predictor, form);
  out.u32(hashOf(components));
}

// Float components: JT 10 has the bits in one packet, JT 9 in two, with a hash that is not checked.
void addFloats(ByteBuilder& out, const std::vector<std::vector<float>>& components, Predictor predictor,
               PacketForm form) {
  std::vector<Values> bits(components.size());
  for (std::size_t i = 0; i < components.size(); ++i) {
    for (const float value : components[i]) bits[i].push_back(std::bit_cast<std::int32_t>(value));
  }
  if (form == PacketForm::V10) return addCodes(out, bits, predictor, form);
  for (const Values& component : bits) {
    Values exponents;
    Values mantissae;
    for (const std::int32_t value : component) {
      exponents.push_back(static_cast<std::int32_t>(static_cast<std::uint32_t>(value) >> 23));
      mantissae.push_back(value & 0x07ffffff);
    }
    addPacket(out, exponents, predictor, form);
    addPacket(out, mantissae, predictor, form);
  }
  out.u32(0);
}

void addCoordinates(ByteBuilder& out, std::uint32_t count, const ShapeOptions& options) {
  out.u32(count).u8(options.coordinate_components);
  std::vector<std::vector<float>> floats(3);
  std::vector<Values> codes(3);
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto place = static_cast<float>(i);
    floats[0].push_back(place);
    floats[1].push_back(2 * place);
    floats[2].push_back(3 * place + 0.5F);
    for (Values& component : codes) component.push_back(static_cast<std::int32_t>(i));
  }
  floats.resize(options.coordinate_components, std::vector<float>(count, 1));
  codes.resize(options.coordinate_components, Values(count, 1));
  if (!options.quantized) {
    for (int i = 0; i < 3; ++i) out.f32(0).f32(0).u8(0);
    return addFloats(out, floats, Predictor::Lag1, options.form);
  }
  // 4 bits: code 15 is the maximum.
  out.f32(0).f32(15).u8(4).f32(0).f32(30).u8(4).f32(0.5F).f32(45.5F).u8(4);
  addCodes(out, codes, Predictor::Lag1, options.form);
}

void addNormals(ByteBuilder& out, std::uint32_t count, const ShapeOptions& options) {
  out.u32(count).u8(3).u8(options.quantized ? 2 : 0);
  if (!options.quantized) {
    return addFloats(
        out,
        {std::vector<float>(count, 0.0F), std::vector<float>(count, 0.0F), std::vector<float>(count, 1.0F)},
        Predictor::None, options.form);
  }
  // Sextant 1, theta code 3: theta is 0, so the normal is the axis that sextant 1 makes z.
  const Values sextants(count, 1);
  const Values octants(count, 7);
  const Values thetas(count, 3);
  const Values psis(count, 0);
  if (options.form == PacketForm::V9)
    return addCodes(out, {sextants, octants, thetas, psis}, Predictor::None, options.form);
  addCodes(out, {Values(count, 1 << 7 | 7 << 4 | 3 << 2)}, Predictor::None, options.form);
}

// Hue 0 .. 6 in 8 bits: code 85 is 2, which is green. The others go from 0 to 1.
void addHsvColors(ByteBuilder& out, std::uint32_t count, PacketForm form) {
  out.u32(count).u8(3).u8(8).u8(1);
  for (int i = 0; i < 4; ++i) out.u8(8);
  addCodes(out, {Values(count, 85), Values(count, 255), Values(count, 51), Values(count, 0)}, Predictor::None,
           form);
}

void addColors(ByteBuilder& out, std::uint32_t count, PacketForm form) {
  out.u32(count).u8(3).u8(8).u8(0);
  for (int i = 0; i < 4; ++i) out.f32(0).f32(1).u8(1);
  addCodes(out, {Values(count, 1), Values(count, 0), Values(count, 1), Values(count, 0)}, Predictor::None,
           form);
}

void addTextureCoordinates(ByteBuilder& out, std::uint32_t count, PacketForm form) {
  Values ramp;
  for (std::uint32_t i = 0; i < count; ++i) ramp.push_back(static_cast<std::int32_t>(i));
  out.u32(count).u8(2).u8(8);
  for (int i = 0; i < 2; ++i) out.f32(0).f32(255).u8(8);
  addCodes(out, {ramp, ramp}, Predictor::Lag1, form);
}

}  // namespace

Topology tetrahedronSymbols(std::int32_t mask) {
  Topology symbols;
  // The first corner of the first polygon has no known neighbours: context 1. All others see degrees below 6:
  // context 0.
  symbols.degrees[1] = {3};
  symbols.degrees[0] = {3, 3, 3};
  symbols.valences = {3, 3, 3, 3};
  symbols.groups = {0, 0, 0, 0};
  symbols.flags = {0, 0, 0, 0};
  symbols.masks[1] = {mask, mask, mask, mask};
  return symbols;
}

Topology cubeSymbols(std::int32_t mask) {
  Topology symbols;
  // Degrees below 4 at quadrangles: context 3; nothing known: context 4.
  symbols.degrees[4] = {3};
  symbols.degrees[3] = {3, 3, 3, 3, 3, 3, 3};
  symbols.valences = {4, 4, 4, 4, 4, 4};
  symbols.groups = {0, 0, 0, 0, 0, 0};
  symbols.flags = {0, 0, 0, 0, 0, 0};
  symbols.masks[1].assign(8, mask);
  return symbols;
}

Topology triangleSymbols() {
  Topology symbols;
  symbols.degrees[1] = {2};
  symbols.degrees[0] = {2, 2};
  symbols.valences = {3, 3};
  symbols.groups = {0, -1};
  symbols.flags = {0, 1};
  symbols.masks[0] = {1, 1, 1};
  return symbols;
}

Topology polygonSymbols(std::uint32_t corners) {
  Topology symbols;
  symbols.degrees[7].assign(corners, 2);
  symbols.valences.assign(2, static_cast<std::int32_t>(corners));
  symbols.groups = {0, -1};
  symbols.flags = {0, 1};
  symbols.masks[0].assign(corners, 0);
  return symbols;
}

Topology bowTieSymbols() {
  Topology symbols;
  symbols.degrees[7] = {4, 2, 2, 0, 2, 2};
  symbols.valences = {6, 3, 3};
  symbols.groups = {-1, 0, 0};
  symbols.flags = {1, 0, 0};
  symbols.masks[2] = {2};
  symbols.masks[0] = {1, 1, 1, 1};
  symbols.split_offsets = {3};
  symbols.split_positions = {2};
  return symbols;
}

Bytes topologyBytes(const Topology& symbols, PacketForm form) {
  Topology stored = symbols;
  stored.upper_masks.resize(form == PacketForm::V10 ? 1 : 2);
  stored.hash = topologyHash(stored);
  ByteBuilder out;
  writeTopologyStreams(out.writer(), stored, optionsOf(form));
  return out.result();
}

Bytes topologicalRepData(const Topology& symbols, std::uint32_t vertices, std::uint32_t records,
                         const ShapeOptions& options) {
  ByteBuilder out;
  out.bytes(topologyBytes(symbols, options.form)).u64(options.bindings);
  const std::uint32_t bits = options.quantized ? 4 : 0;
  out.u8(bits).u8(options.quantized ? 2 : 0).u8(8).u8(8).u32(vertices);
  if (vertices == 0) return out.result();
  out.u32(records);
  addCoordinates(out, vertices, options);
  if ((options.bindings & 0x8) != 0) addNormals(out, records, options);
  if ((options.bindings & 0x30) != 0) {
    options.hsv ? addHsvColors(out, records, options.form) : addColors(out, records, options.form);
  }
  for (std::uint32_t channel = 0; channel < 8; ++channel) {
    if ((options.bindings >> (8 + 4 * channel) & 15U) != 0) addTextureCoordinates(out, records, options.form);
  }
  if ((options.bindings & 0x40) != 0) out.u32(records).bytes(packetOf(Values(records, 1), options.form));
  if (options.bindings >> 63 != 0) out.u32(0xffffffffU).u32(7).text("auxiliary");
  return out.result();
}

Bytes polylineRepData(PacketForm form) {
  const std::vector<Values> lists = {{0, 2}, {0, 2, 5}, {0, 1, 1, 2, 3}};
  const Values lengths = {2, 1, 1};
  ByteBuilder out;
  out.u32(1).u32(2).u32(5);
  for (const Values& list : lists) out.bytes(packetOf(list, form));
  out.u32(hashOf(lists)).u64(0x12).u8(0).u8(0).u8(0).u8(8);
  out.u32(4).u32(3).bytes(packetOf(lengths, form)).u32(hashOf({lengths}));
  ShapeOptions options;
  options.form = form;
  addCoordinates(out, 3, options);
  addColors(out, 4, form);
  return out.result();
}

Bytes shapeElement(const GuidValue& kind, PacketForm form, const Bytes& rep_data) {
  constexpr unsigned kBaseType = 4;
  constexpr unsigned kNestedBaseType = 9;
  ByteBuilder out;
  const std::size_t begin = beginElement(out.writer(), kind, kBaseType, 1);
  if (form == PacketForm::V9) {
    out.u16(1).u16(1).u64(0x0a).u16(1).u32(1).u16(1).bytes(rep_data).u16(1);
  } else {
    out.u8(1).u8(1).u64(0x0a);
    const std::size_t nested = beginElement(out.writer(), guids::kTopoMesh, kNestedBaseType, 2);
    out.u8(1).u32(1).u8(1).bytes(rep_data);
    finishElement(out.writer(), nested);
    out.u8(1);
  }
  finishElement(out.writer(), begin);
  return out.result();
}

}  // namespace loftbay::maker::pieces
