#include "samples/maker/pieces/meta_data.h"

#include "samples/maker/guids.h"

namespace loftbay::maker::pieces {

namespace {

constexpr std::uint8_t kBaseTypeOfMetaData = 9;

Bytes element(ByteOrder order, const GuidValue& kind, const Bytes& rest) {
  constexpr std::size_t kGuidBytes = 16;
  ByteBuilder out(order);
  out.u32(kGuidBytes + rest.size()).guid(kind).bytes(rest);
  return out.result();
}

}  // namespace

Bytes numberBytes(ByteOrder order, const PropertyValue& value) {
  ByteBuilder out(order);
  if (const auto* integer = std::get_if<std::int32_t>(&value)) out.i32(*integer);
  if (const auto* number = std::get_if<float>(&value)) out.f32(*number);
  if (const auto* date = std::get_if<Date>(&value)) {
    for (const std::int16_t field : *date) out.i16(field);
  }
  return out.result();
}

Bytes metaDataSegment(int major_version, ByteOrder order, const std::vector<MetaDataProperty>& properties) {
  ByteBuilder body(order);
  body.u8(kBaseTypeOfMetaData);
  if (major_version >= 9) body.i32(0);  // object id
  if (major_version == 9) body.i16(1);
  if (major_version >= 10) body.u8(1);
  for (const auto& [key, value] : properties) {
    body.mbString(key).u8(value.index() + 1);
    if (const auto* text = std::get_if<std::string>(&value)) {
      body.mbString(*text);
    } else {
      body.bytes(numberBytes(order, value));
    }
  }
  body.i32(0);  // no further key
  ByteBuilder out(order);
  out.bytes(element(order, guids::kPropertyProxy, body.result()));
  if (major_version < 9) return out.result();
  // The end of the elements, and a property table without entries.
  out.bytes(element(order, guids::kEnd, {})).i16(1).i32(0);
  return out.result();
}

}  // namespace loftbay::maker::pieces
