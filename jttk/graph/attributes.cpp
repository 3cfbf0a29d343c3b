// Base attribute: v, U8 state, U32 inhibited fields, from 10.0 on U32 final fields (and from its version 2
// on an I32 palette index). Transform: v, U16 mask, one value per set bit, F32 or F64 by what is left of the
// element. Material: v, U16 flags, ambient, diffuse, specular, emission, F32 shininess, more that is not
// needed.
#include "jttk/graph/attributes.h"

#include <algorithm>
#include <array>
#include <bit>

#include "jttk/file/object_ids.h"

namespace jttk {

namespace {

constexpr std::array kOthers = {object_id::kDrawStyle,   object_id::kLightSet,  object_id::kInfiniteLight,
                                object_id::kPointLight,  object_id::kLineStyle, object_id::kPointStyle,
                                object_id::kTextureImage};

// Data flags of 8.x materials: with the first set, each of the others says that a colour is stored as one
// number for red, green and blue. Which of the last two is which shows where only one is set (0x3985): the
// other way round the emission of real files would have alpha 0 and the specular colour's green and blue.
constexpr std::uint16_t kCommonValues = 0x1;
constexpr std::uint16_t kCommonAmbient = 0x2;
constexpr std::uint16_t kCommonEmission = 0x4;
constexpr std::uint16_t kCommonSpecular = 0x8;

constexpr int kPaletteVersion = 2;
constexpr std::size_t kPaletteBytes = 4;

std::array<float, 4> readColor(ByteReader& body, bool one_number, const char* what) {
  if (one_number) {
    const float value = body.f32(what);
    return {value, value, value, 1.0F};
  }
  std::array<float, 4> color{};
  for (float& value : color) value = body.f32(what);
  return color;
}

bool readTransform(ByteReader body, Version version, TransformElements& elements) {
  readVersion(body, version);
  const std::uint16_t mask = body.u16("transform mask");
  if (!body.ok()) return false;
  const auto values = static_cast<std::size_t>(std::popcount(mask));
  const std::size_t left = body.remaining();
  if (left < 4 * values) return false;
  const bool doubles = left == 8 * values || (version.major >= 9 && left > 8 * values);
  for (std::size_t i = 0; i < elements.size(); ++i) {
    elements[i] = i % 5 == 0 ? 1.0 : 0.0;
    if ((mask >> (15 - i) & 1U) == 0) continue;
    elements[i] =
        doubles ? body.f64("transform element") : static_cast<double>(body.f32("transform element"));
  }
  return body.ok();
}

bool readMaterial(ByteReader& body, Version version, MaterialValues& material) {
  readVersion(body, version);
  const std::uint16_t flags = body.u16("material flags");
  material.data_flags = flags;
  const auto common = [&](std::uint16_t bit) {
    return version.major < 9 && (flags & kCommonValues) != 0 && (flags & bit) != 0;
  };
  material.ambient = readColor(body, common(kCommonAmbient), "ambient colour");
  material.diffuse = readColor(body, false, "diffuse colour");
  material.specular = readColor(body, common(kCommonSpecular), "specular colour");
  material.emission = readColor(body, common(kCommonEmission), "emission colour");
  material.shininess = body.f32("shininess");
  return body.ok();
}

// Bytes of the body of a JT 10 attribute that begins here (behind the base attribute); 0 when its kind does
// not have a fixed size.
std::size_t fixedSize10(ByteReader body, AttributeKind kind) {
  constexpr std::size_t kMaterialBytes = 1 + 2 + 4 * 16 + 3 * 4;
  if (kind == AttributeKind::Material) return kMaterialBytes;
  if (kind != AttributeKind::Transform) return 0;
  body.skip(1, "version");
  const std::uint16_t mask = body.u16("transform mask");
  return body.ok() ? 3 + 8 * static_cast<std::size_t>(std::popcount(mask)) : 0;
}

// Whether a palette index follows the final fields: decided by the element's size where the kind has a fixed
// one that fits, else by the version.
bool hasPaletteIndex(const ByteReader& body, AttributeKind kind, int base_version) {
  if (body.remaining() < kPaletteBytes) return false;
  if (fixedSize10(body, kind) == body.remaining()) return false;
  ByteReader behind = body;
  behind.skip(kPaletteBytes, "palette index");
  if (fixedSize10(behind, kind) == behind.remaining()) return true;
  return base_version >= kPaletteVersion;
}

}  // namespace

std::optional<AttributeKind> attributeKind(const Guid& guid) {
  if (guid == object_id::kTransform) return AttributeKind::Transform;
  if (guid == object_id::kMaterial) return AttributeKind::Material;
  if (std::find(kOthers.begin(), kOthers.end(), guid) != kOthers.end()) return AttributeKind::Other;
  return std::nullopt;
}

bool isLight(const Guid& guid) { return guid == object_id::kInfiniteLight || guid == object_id::kPointLight; }

bool isTexture(const Guid& guid) { return guid == object_id::kTextureImage; }

Result<void> readAttribute(Element& element, AttributeKind kind, Version version, SceneGraph& graph) {
  ByteReader& body = element.body;
  Attribute attribute;
  attribute.kind = kind;
  attribute.id = element.id;
  const int base_version = readVersion(body, version);
  attribute.state = body.u8("attribute state");
  attribute.inhibited_fields = body.u32("inhibited fields");
  if (version.major >= 10) {
    attribute.final_fields = body.u32("final fields");
    if (hasPaletteIndex(body, kind, base_version)) body.skip(kPaletteBytes, "palette index");
  }
  if (!body.ok() && kind != AttributeKind::Other) return body.unexpected();
  if (kind == AttributeKind::Transform) {
    TransformElements elements{};
    if (!readTransform(body, version, elements)) {
      body.setFailed("transform", "has fewer values than its mask says");
      return body.unexpected();
    }
    attribute.value = static_cast<std::uint32_t>(graph.transforms.size());
    graph.transforms.push_back(elements);
  } else if (kind == AttributeKind::Material) {
    MaterialValues material;
    if (!readMaterial(body, version, material)) return body.unexpected();
    attribute.value = static_cast<std::uint32_t>(graph.materials.size());
    graph.materials.push_back(material);
  }
  graph.attributes.push_back(attribute);
  return {};
}

}  // namespace jttk
