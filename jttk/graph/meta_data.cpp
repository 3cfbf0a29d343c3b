// Element: I32 length, GUID of the kind, U8 base type, from 9.0 on I32 object id, v, then one property after
// the other up to an empty key: key, U8 kind of value, value (1 text, 2 I32, 3 F32, 4 date as six I16). v is
// nothing in 8.x, I16 in 9.x and U8 from 10.0 on.
#include "jttk/graph/meta_data.h"

#include "jttk/file/elements.h"
#include "jttk/file/object_ids.h"

namespace jttk {

namespace {

std::string readValue(ByteReader& body) {
  switch (body.u8("kind of property value")) {
    case 1:
      return body.mbString("text");
    case 2:
      return std::to_string(body.i32("number"));
    case 3:
      return numberText(body.f32("number"));
    case 4: {
      StoredDate date{};
      for (std::int16_t& field : date) field = body.i16("date");
      return dateText(date);
    }
    default:
      if (body.ok()) body.setFailed("kind of property value", "is not known");
      return {};
  }
}

void readProperties(ByteReader& body, Version version, std::vector<TextProperty>& properties) {
  if (version.major >= 9) body.skip(4, "object id");
  readVersion(body, version);
  while (body.ok()) {
    std::string key = body.mbString("property key");
    if (key.empty()) return;
    std::string value = readValue(body);
    if (body.ok()) properties.push_back({std::move(key), std::move(value)});
  }
}

}  // namespace

MetaData readMetaData(const Segment& segment, Version version, ByteOrder order) {
  MetaData result;
  ByteReader reader(segment.data, order, segment.base_offset);
  while (reader.ok() && reader.remaining() > 0) {
    const std::uint32_t length = reader.count("element length", 1);
    ByteReader body = reader.sub(length, "element");
    const Guid kind = body.guid("element id");
    if (!body.ok() || kind == object_id::kEndOfElements) break;
    body.skip(1, "element base type");
    if (kind != object_id::kPropertyProxy) continue;
    readProperties(body, version, result.properties);
    if (body.ok()) continue;
    result.damage = segment.named(body.error().ofElement(object_id::name(kind)));
    return result;
  }
  if (!reader.ok()) result.damage = segment.named(reader.error());
  return result;
}

}  // namespace jttk
